// Reads statements and looks for packets that contradict them.

#include "plan/exposure/expectations.h"

#include <algorithm>

#include "core/text.h"
#include "plan/exposure/opening_words.h"

namespace {

struct Service {
    std::string_view name;
    unsigned protocol;
    unsigned port;
};
constexpr Service services[] = {
    {"dns", protocol_udp, 53},
    {"dhcp", protocol_udp, 67},
    {"web", protocol_tcp, 80},
    {"ping", protocol_icmp, 0},
};

std::vector<std::string> words_of(std::string_view line) {
    std::vector<std::string> words;
    while (!line.empty()) {
        const std::string word(take_field(line, ' '));
        if (!word.empty()) words.push_back(word);
    }
    return words;
}

// Takes one statement apart.
class StatementReader {
  public:
    explicit StatementReader(std::vector<std::string> words) : words_(std::move(words)) {}

    // Returns what is wrong with it; empty if it is a statement.
    std::string read(Expectation& expected) {
        if (words_[0] == "never" || words_[0] == "only") {
            expected.kind =
                words_[0] == "never" ? Expectation::Kind::Never : Expectation::Kind::Only;
            at_ = 1;
        } else if (words_.size() > 1 && words_[1] == "reaches") {
            expected.kind = Expectation::Kind::Reaches;
            expected.from = words_[0];
            expected.to_router = true;
            at_ = 2;
        } else {
            return "a statement begins with 'never', 'only' or 'IF reaches'";
        }
        if (std::string problem = read_protocol_and_ports(expected); !problem.empty())
            return problem;
        bool targeted = false;
        bool from = false;
        const bool reaches = expected.kind == Expectation::Kind::Reaches;
        while (at_ < words_.size()) {
            const std::string& word = words_[at_++];
            if (at_ == words_.size()) return "nothing follows '" + word + "'";
            const std::string& value = words_[at_++];
            if (word == (reaches ? "at" : "to")) {
                targeted = true;
                expected.to_router = value == "router";
                if (expected.to_router) continue;
                expected.target = read_address(value);
                if (!expected.target)
                    return "'" + value + "' is neither 'router' nor an IPv4 address";
            } else if (word == "from" && !reaches) {
                from = true;
                expected.from = value;
            } else {
                return "'" + word + "' is not expected here";
            }
        }
        if (expected.kind == Expectation::Kind::Never && !from) return "'from IF' is missing";
        if (expected.kind == Expectation::Kind::Only && !targeted) return "'to TARGET' is missing";
        return "";
    }

  private:
    std::vector<std::string> words_;
    size_t at_ = 0;

    std::string read_protocol_and_ports(Expectation& expected) {
        if (at_ == words_.size()) return "a protocol is missing";
        const std::string& name = words_[at_++];
        const auto service = std::ranges::find(services, name, &Service::name);
        if (service != std::end(services)) {
            expected.protocol = service->protocol;
            if (service->port != 0)
                expected.ports = {{.first = service->port, .last = service->port}};
            return "";
        }
        const std::optional<unsigned> protocol =
            name == "any" ? std::optional<unsigned>(0) : read_protocol(name);
        if (!protocol) return "'" + name + "' is not a protocol";
        expected.protocol = *protocol;
        const bool ports = at_ < words_.size() && words_[at_][0] >= '0' && words_[at_][0] <= '9';
        if (!ports) return "";
        if (*protocol != protocol_tcp && *protocol != protocol_udp)
            return "only tcp and udp have ports";
        std::string_view list = words_[at_++];
        while (!list.empty()) {
            std::string range(take_field(list, ','));
            std::ranges::replace(range, '-', ':');
            const std::optional<NumberRange> read = read_number_range(range);
            if (!read) return "'" + range + "' is not a port or a range of ports";
            expected.ports.push_back(*read);
        }
        return "";
    }
};

PacketSet stated_packets(const PacketSpace& space, const Expectation& expected) {
    PacketSet set = PacketSet::everything();
    if (expected.protocol != 0) set = space.with(Field::Protocol, expected.protocol);
    if (expected.ports.empty()) return set;
    return set & space.with(Field::DestinationPort, expected.ports);
}

// Of an opening, the packets that go to the statement's target.
PacketSet to_target(const PacketSpace& space, const Networks& networks, const Opening& opening,
                    const Expectation& expected) {
    const bool for_router = opening.out.empty();
    if (expected.to_router) return for_router ? opening.packets : PacketSet();
    if (!expected.target) return opening.packets;
    if (networks.is_own(*expected.target) && for_router && opening.to)
        return *opening.to == *expected.target ? opening.packets : PacketSet();
    if (opening.to) return *opening.to == *expected.target ? opening.packets : PacketSet();
    return opening.packets & space.with(Field::Destination, *expected.target);
}

// The packets that a host behind the interface may send to the target.
PacketSet sent_packets(const Firewall& firewall, const PacketSpace& space, const std::string& in,
                       const Expectation& expected) {
    const Networks& networks = firewall.networks;
    PacketSet set = entering(space, ConnectionState::New) & space.with(Field::WithinLimit, 1) &
                    (space.with(Field::Drawn, 1) - unroutable(space, networks, Field::Source) -
                     unroutable(space, networks, Field::Destination));
    if (in == networks.lan_if && networks.lan) {
        const unsigned first = networks.lan->address & networks.lan->mask;
        set = set & space.with(Field::Source, first + 1, (first | ~networks.lan->mask) - 1);
    }
    std::optional<Ipv4> target = expected.target;
    const auto own = networks.addresses.find(in);
    if (expected.to_router && own != networks.addresses.end()) target = own->second;
    if (target) set = set & space.with(Field::Destination, *target);
    return set & stated_packets(space, expected);
}

}  // namespace

std::string interface_named(const Networks& networks, const std::string& name) {
    if (name == "wan") return networks.wan_if;
    return name == "lan" ? networks.lan_if : name;
}

std::variant<std::vector<Expectation>, ExpectationError> read_expectations(
    const std::string& text) {
    std::vector<Expectation> list;
    std::string_view rest = text;
    for (size_t line = 1; !rest.empty(); line++) {
        std::string_view words = take_field(rest, '\n');
        if (words.ends_with('\r')) words.remove_suffix(1);
        const std::vector<std::string> split = words_of(words);
        if (split.empty() || split[0].starts_with('#')) continue;
        Expectation expected;
        expected.text = std::string(words);
        expected.line = line;
        const std::string problem = StatementReader(split).read(expected);
        if (!problem.empty()) return ExpectationError{.line = line, .message = problem};
        list.push_back(std::move(expected));
    }
    return list;
}

std::string contradiction(const Firewall& firewall, const PacketSpace& space,
                          const Expectation& expected) {
    const Networks& networks = firewall.networks;
    const std::string in = interface_named(networks, expected.from);
    const PacketSet stated = stated_packets(space, expected);
    PacketSet against;
    PacketSet accepted;
    for (const Opening& opening : openings_of(firewall, space, in)) {
        if (opening.state != ConnectionState::New) continue;
        const PacketSet there = to_target(space, networks, opening, expected);
        accepted = accepted | there;
        if (expected.kind == Expectation::Kind::Never) against = against | (there & stated);
        if (expected.kind == Expectation::Kind::Only) against = against | (there - stated);
    }
    if (expected.kind == Expectation::Kind::Reaches)
        against = sent_packets(firewall, space, in, expected) - accepted;
    if (against.is_empty()) return "";
    return packet_words(witness_of(space, networks, against, in, ConnectionState::New));
}
