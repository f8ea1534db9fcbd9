// Compares the rows, single packets and the kernel.

#include "agreement.h"

#include <stdio.h>

#include <algorithm>

#include "judged.h"
#include "packet_drawing.h"
#include "plan/exposure/exposure.h"
#include "random_settings.h"
#include "restore_text.h"

namespace {

constexpr size_t most_differences_shown = 20;

// One router: its rules in the kernel, and what is said about them.
class Comparison {
  public:
    Comparison(Wire& wire, const Settings& settings, std::string name, unsigned seed)
        : wire_(wire),
          name_(std::move(name)),
          plan_(plan_of(settings, two_name_servers)),
          firewall_(plan_),
          space_(std::vector<const Netfilter*>{&firewall_.tables}),
          drawing_({&firewall_}, space_, seed),
          provenance_(trace(plan_)),
          settings_(firewall_, provenance_) {}

    AgreementCount run(size_t packets) {
        const std::string reason = cannot_be_compared(firewall_);
        const std::string text = restore_text(firewall_.tables, count_.replaced);
        const std::string refused = reason.empty() ? wire_.load(text) : reason;
        if (!refused.empty()) {
            printf("%s: %s\n", name_.c_str(), refused.c_str());
            count_.differences++;
            return count_;
        }
        for (const Chain& chain : firewall_.tables.chains) count_.rules += chain.rules.size();
        for (const std::string& in : {firewall_.networks.wan_if, firewall_.networks.lan_if})
            compare_from(in, packets);
        for (const std::string& in : {firewall_.networks.wan_if, firewall_.networks.lan_if})
            compare_related(in);
        return count_;
    }

  private:
    Wire& wire_;
    std::string name_;
    Plan plan_;
    Firewall firewall_;
    PacketSpace space_;
    PacketDrawing drawing_;
    Provenance provenance_;
    RuleSettings settings_;
    AgreementCount count_;

    void compare_from(const std::string& in, size_t packets) {
        const std::vector<Opening> openings = openings_of(firewall_, space_, in);
        const std::vector<ExposureRow> rows = open_rows(firewall_, space_, settings_, in);
        count_.rows += rows.size();
        std::vector<WirePacket> drawn;
        const size_t for_each = packets / (3 * std::max<size_t>(1, rows.size())) + 1;
        for (const ExposureRow& row : rows)
            for (size_t i = 0; i < for_each && row.state != ConnectionState::Related; i++) {
                const Packet inside = drawing_.of(row.packets, in, row.state);
                drawn.push_back(drawing_.on_wire(inside));
                drawn.push_back(drawing_.on_wire(drawing_.beside(inside)));
            }
        while (drawn.size() < packets)
            drawn.push_back(drawing_.on_wire(drawing_.any(
                in, drawn.size() % 8 == 0 ? ConnectionState::Invalid : ConnectionState::New)));
        // Of no connection only these can be made.
        count_.left_out += std::erase_if(drawn, [](const WirePacket& each) {
            const unsigned protocol = each.packet.protocol;
            const bool invalid = each.packet.state == ConnectionState::Invalid;
            return !is_made(protocol) || (invalid && protocol != protocol_icmp &&
                                          protocol != protocol_tcp && protocol != protocol_udp);
        });
        const std::vector<KernelFate> fates = wire_.send(drawn);
        for (size_t i = 0; i < drawn.size(); i++)
            judge(drawn[i].packet, openings, rows, judged_by(fates[i]));
        related_[in] = related_to(drawn, fates);
    }

    // ICMP errors about the connections that these packets have begun to the other side, which see
    // them as the kernel has translated them. They are given by the connection and by what comes
    // back about it.
    struct Related {
        WirePacket first;
        WirePacket error;
    };
    std::map<std::string, std::vector<Related>> related_;

    std::vector<Related> related_to(const std::vector<WirePacket>& sent,
                                    const std::vector<KernelFate>& fates) {
        constexpr size_t most = 60;
        std::vector<Related> errors;
        for (size_t i = 0; i < sent.size() && errors.size() < most; i++) {
            const Packet& first = sent[i].packet;
            const Arrival& there = fates[i].arrival;
            const bool ports = there.protocol == protocol_tcp || there.protocol == protocol_udp;
            const bool begins = first.state == ConnectionState::New &&
                                (there.protocol != protocol_tcp || first.tcp_flags == Syn);
            if (!fates[i].accepted || !ports || !begins || fates[i].out.empty()) continue;
            Related related = {.first = sent[i], .error = {}};
            Packet& error = related.error.packet;
            error = drawing_.any(fates[i].out, ConnectionState::Related);
            error.protocol = protocol_icmp;
            constexpr unsigned errors_of_icmp[] = {3, 4, 11, 12};
            error.icmp_type = errors_of_icmp[errors.size() % std::size(errors_of_icmp)];
            error.source_port = error.destination_port = error.tcp_flags = error.mss = std::nullopt;
            error.payload.reset();
            error.destination = there.source;
            Packet about = first;
            about.source = there.source;
            about.source_port = there.source_port;
            about.destination = there.destination;
            about.destination_port = there.destination_port;
            about.payload.reset();
            related.error.about = packet_bytes({.packet = about}, 1);
            // The header and the eight bytes after it.
            related.error.about.resize(28);
            errors.push_back(std::move(related));
        }
        return errors;
    }

    void compare_related(const std::string& in) {
        const std::vector<Opening> openings = openings_of(firewall_, space_, in);
        const std::vector<ExposureRow> rows = open_rows(firewall_, space_, settings_, in);
        for (const auto& [from, list] : related_)
            for (const Related& related : list) {
                if (related.error.packet.in != in) continue;
                wire_.forget_connections();
                wire_.send_on({related.first});
                const std::vector<KernelFate> fates = wire_.send_on({related.error});
                // The rules see it on its way to the one who began.
                Packet packet = related.error.packet;
                packet.destination = related.first.packet.source;
                judge(packet, openings, rows, judged_by(fates[0]));
            }
    }

    void judge(const Packet& packet, const std::vector<Opening>& openings,
               const std::vector<ExposureRow>& rows, const Judged& kernel) {
        const Walk walk = walk_packet(firewall_.tables, firewall_.networks, packet);
        const Judged single = judged_by(walk);
        const Judged set = judged_by(openings, space_, packet);
        bool in_row = false;
        for (const ExposureRow& row : rows)
            in_row |= row.state == packet.state && space_.holds(row.packets, packet);
        count_.packets++;
        // Rows are about packets that begin a connection, and leave out those of none that go back
        // where they came from. Hosts without an address broadcast, which is no row's either.
        const bool is_new = packet.state == ConnectionState::New;
        const bool begins = packet.protocol != protocol_tcp || packet.tcp_flags == Syn;
        const bool about =
            (is_new ? begins : single.out != packet.in) && packet.source != no_address;
        if (!about) count_.beyond_rows++;
        if (about && in_row) count_.inside[state_name(packet.state)]++;
        if (about && !in_row) count_.outside++;
        const bool rows_agree = about ? set == single && in_row == single.accepted : !in_row;
        const bool translated = packet.state == ConnectionState::Related;
        const bool source = !single.accepted || translated || walk.packet.source == kernel.source;
        if (rows_agree && single == kernel && source && walk.verdict != Verdict::Unknown) return;
        if (count_.differences++ >= most_differences_shown) return;
        printf("%s: %s\n    rows: %s%s\n    rcplan packet: %s\n    kernel: %s\n", name_.c_str(),
               packet_words(packet).c_str(), set.text().c_str(), in_row ? "" : ", in no row",
               walk.verdict_text().c_str(), kernel.text().c_str());
    }
};

}  // namespace

AgreementCount compare_three(Wire& wire, const Settings& settings, const std::string& name,
                             size_t packets, unsigned seed) {
    return Comparison(wire, settings, name, seed).run(packets);
}
