// Compares `rcplan diff`'s openings with the kernel, for changed rules.

#include "differences.h"

#include <stdio.h>

#include <algorithm>

#include "judged.h"
#include "packet_drawing.h"
#include "random_settings.h"
#include "restore_text.h"
#include "rule_changes.h"

namespace {

constexpr size_t most_shown = 20;

class ChangeComparison {
  public:
    ChangeComparison(Wire& wire, const Settings& settings, std::string name)
        : wire_(wire),
          name_(std::move(name)),
          plan_(plan_of(settings, two_name_servers)),
          before_(plan_) {}

    DifferenceCount run(size_t packets, size_t first, size_t step) {
        const std::string reason = cannot_be_compared(before_);
        if (!reason.empty() || !load(before_)) {
            report(reason);
            return count_;
        }
        draw_common(packets);
        common_fates_ = wire_.send(common_);
        const std::vector<RuleChange> changes = rule_changes(before_.tables);
        for (size_t i = first; i < changes.size(); i += step) compare(changes[i]);
        return count_;
    }

  private:
    Wire& wire_;
    std::string name_;
    Plan plan_;
    Firewall before_;
    // The packets for all changes, and what becomes of them before.
    std::vector<WirePacket> common_;
    std::vector<KernelFate> common_fates_;
    DifferenceCount count_;

    bool load(const Firewall& firewall) {
        std::map<std::string, size_t> replaced;
        return wire_.load(restore_text(firewall.tables, replaced)).empty();
    }

    void report(const std::string& text) {
        if (count_.wrong++ < most_shown) printf("%s: %s\n", name_.c_str(), text.c_str());
    }

    // Of each opening some packets and some beside it, and any.
    void draw_common(size_t packets) {
        const PacketSpace space(std::vector<const Netfilter*>{&before_.tables});
        PacketDrawing drawing({&before_}, space, 1);
        for (const std::string& in : {before_.networks.wan_if, before_.networks.lan_if}) {
            std::vector<Packet> list;
            std::vector<Opening> openings = openings_of(before_, space, in);
            std::erase_if(openings, [](const Opening& opening) {
                return opening.state != ConnectionState::New;
            });
            for (const Opening& opening : openings)
                for (size_t i = 0; i <= packets / (3 * openings.size()); i++) {
                    list.push_back(drawing.of(opening.packets, in, ConnectionState::New));
                    list.push_back(drawing.beside(list.back()));
                }
            while (list.size() < packets) list.push_back(drawing.any(in, ConnectionState::New));
            add(common_, space, list);
        }
    }

    // Those that differences are about.
    static void add(std::vector<WirePacket>& packets, const PacketSpace& space,
                    const std::vector<Packet>& list) {
        const PacketSet entering_set = entering(space, ConnectionState::New);
        for (const Packet& packet : list)
            if (is_made(packet.protocol) && packet.source != no_address &&
                space.holds(entering_set, packet))
                packets.push_back({.packet = packet});
    }

    void compare(const RuleChange& change) {
        count_.changes++;
        const Firewall after(plan_, changed(before_.tables, change));
        const PacketSpace space(std::vector<const Netfilter*>{&before_.tables, &after.tables});
        PacketDrawing drawing({&before_, &after}, space, static_cast<unsigned>(count_.changes));
        std::map<std::string, std::vector<Opening>> opened;
        std::map<std::string, std::vector<Opening>> closed;
        std::vector<Packet> list;
        for (const std::string& in : {before_.networks.wan_if, before_.networks.lan_if}) {
            opened[in] = openings_beyond(after, before_, space, in);
            closed[in] = openings_beyond(before_, after, space, in);
            for (const std::vector<Opening>* side : {&opened[in], &closed[in]})
                for (const Opening& opening : *side)
                    for (int i = 0; i < 3; i++) {
                        list.push_back(drawing.of(opening.packets, in, ConnectionState::New));
                        list.push_back(drawing.beside(list.back()));
                    }
        }
        std::vector<WirePacket> own;
        add(own, space, list);
        if (!own.empty() && !load(before_)) return report("the rules are not taken again");
        const std::vector<KernelFate> own_fates = wire_.send(own);
        if (!load(after)) return report(change.text() + ": the rules are not taken");
        bool moved = false;
        const auto judge = [&](const std::vector<WirePacket>& packets,
                               const std::vector<KernelFate>& fates) {
            const std::vector<KernelFate> new_fates = wire_.send(packets);
            for (size_t i = 0; i < packets.size(); i++) {
                const Packet& packet = packets[i].packet;
                moved |= compare(change, space, packet, judged_by(fates[i]),
                                 judged_by(new_fates[i]), opened[packet.in], closed[packet.in]);
            }
        };
        judge(common_, common_fates_);
        judge(own, own_fates);
        if (moved) count_.shown++;
    }

    // Whether the packet goes elsewhere.
    bool compare(const RuleChange& change, const PacketSpace& space, const Packet& packet,
                 const Judged& before, const Judged& after, const std::vector<Opening>& opened,
                 const std::vector<Opening>& closed) {
        const auto holds = [&](const Opening& opening) {
            return space.holds(opening.packets, packet);
        };
        const bool differs = !(before == after);
        const bool is_opened = std::ranges::any_of(opened, holds);
        const bool is_closed = std::ranges::any_of(closed, holds);
        count_.packets++;
        if (differs) count_.moved++;
        if (is_opened != (differs && after.accepted) || is_closed != (differs && before.accepted))
            report(change.text() + ": " + packet_words(packet) + "\n    kernel: " + before.text() +
                   ", then " + after.text() +
                   "\n    difference: " + (is_opened ? "opened" : "not opened") + ", " +
                   (is_closed ? "closed" : "not closed"));
        return differs;
    }
};

}  // namespace

DifferenceCount compare_changes(Wire& wire, const Settings& settings, const std::string& name,
                                size_t packets, size_t first, size_t step) {
    return ChangeComparison(wire, settings, name).run(packets, first, step);
}
