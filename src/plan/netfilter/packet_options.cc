// Makes a packet from options and deduces the fields that they leave out.

#include "plan/netfilter/packet_options.h"

#include <algorithm>

namespace {

constexpr const char* broadcast_mac = "ff:ff:ff:ff:ff:ff";

struct StateName {
    std::string_view name;
    ConnectionState state;
};
constexpr StateName states[] = {{"new", ConnectionState::New},
                                {"established", ConnectionState::Established},
                                {"related", ConnectionState::Related},
                                {"invalid", ConnectionState::Invalid}};

std::optional<ConnectionState> read_state(const std::string& text) {
    const auto found = std::ranges::find(states, text, &StateName::name);
    if (found == std::end(states)) return std::nullopt;
    return found->state;
}

std::optional<unsigned> read_port(const std::string& text) {
    return read_number(text, 0, 65535);
}

class PacketMaker {
  public:
    PacketMaker(const PacketOptions& options, const Networks& networks)
        : options_(options), networks_(networks) {}
    std::variant<StatedPacket, PacketError> make();

  private:
    const PacketOptions& options_;
    const Networks& networks_;
    StatedPacket result_;
    std::string wrong_;

    Packet& packet() { return result_.packet; }
    void fail(const std::string& why) {
        if (wrong_.empty()) wrong_ = why;
    }
    void assume(const std::string& what) { result_.assumptions.push_back(what); }
    // Reads an option that was given.
    template <typename Value, typename Reader>
    void take(std::optional<Value>& slot, const char* name, const std::string& text,
              Reader reader) {
        if (text.empty()) return;
        slot = reader(text);
        if (!slot) fail(std::string(name) + " '" + text + "': not understood");
    }
    void read_values();
    void check_protocol();
    void deduce_state();
    void deduce_content();
    void deduce_interfaces();
    void deduce_mac();
};

std::variant<StatedPacket, PacketError> PacketMaker::make() {
    read_values();
    if (wrong_.empty()) check_protocol();
    if (wrong_.empty()) {
        deduce_state();
        deduce_content();
        deduce_interfaces();
        deduce_mac();
    }
    if (!wrong_.empty()) return PacketError{wrong_};
    return std::move(result_);
}

void PacketMaker::read_values() {
    std::optional<unsigned> protocol;
    std::optional<unsigned> mark;
    std::optional<ConnectionState> state;
    take(protocol, "--proto", options_.protocol, read_protocol);
    take(packet().source, "--src", options_.source, read_address);
    take(packet().destination, "--dst", options_.destination, read_address);
    take(packet().source_port, "--sport", options_.source_port, read_port);
    take(packet().destination_port, "--dport", options_.destination_port, read_port);
    take(state, "--state", options_.state, read_state);
    take(packet().tcp_flags, "--flags", options_.flags, read_tcp_flags);
    take(packet().icmp_type, "--icmp-type", options_.icmp_type, read_icmp_type);
    take(packet().mss, "--mss", options_.mss, read_port);
    take(packet().mac_source, "--mac-source", options_.mac_source, read_mac);
    take(packet().mac_dest, "--mac-dest", options_.mac_dest, read_mac);
    take(mark, "--mark", options_.mark,
         [](const std::string& text) { return read_number(text, 0, 0xffffffff); });
    packet().protocol = protocol.value_or(0);
    packet().mark = mark.value_or(0);
    packet().state = state.value_or(ConnectionState::New);
    if (!options_.payload.empty()) packet().payload = options_.payload;
    packet().over_limit = options_.over_limit;
    packet().not_drawn = options_.not_drawn;
}

void PacketMaker::check_protocol() {
    const unsigned protocol = packet().protocol;
    if (protocol == 0) return fail("--proto is missing; give tcp, udp, icmp or a number");
    if (!packet().destination) return fail("--dst is missing; give the destination address");
    const bool has_ports = protocol == protocol_tcp || protocol == protocol_udp;
    if (!has_ports && (packet().source_port || packet().destination_port))
        return fail("--sport, --dport: only tcp and udp have ports");
    if (protocol != protocol_tcp && (packet().tcp_flags || options_.syn || packet().mss))
        return fail("--flags, --mss: only tcp has flags and an MSS");
    if (protocol != protocol_icmp && packet().icmp_type)
        return fail("--icmp-type: only icmp has types");
    if (options_.syn && packet().tcp_flags) return fail("--syn and --flags: give only one of them");
    if (options_.from_router && !options_.in.empty())
        return fail(
            "--in and --from-router: a packet from the router itself has no incoming interface");
}

// A TCP packet with payload belongs to an established connection. Flags that no first packet of a
// connection has make it invalid.
void PacketMaker::deduce_state() {
    if (!options_.state.empty() || options_.syn || packet().protocol != protocol_tcp) return;
    if (packet().tcp_flags) {
        const unsigned flags = *packet().tcp_flags;
        if (begin_connection(flags)) return;
        packet().state = ConnectionState::Invalid;
        assume("it is INVALID, since " +
               std::string(are_tracked(flags) ? "no connection begins with the flags "
                                              : "no valid packet has the flags ") +
               tcp_flags_text(flags) + " (--state)");
        return;
    }
    if (!packet().payload) return;
    packet().state = ConnectionState::Established;
    assume("it belongs to an established connection, since it carries text (--state)");
}

void PacketMaker::deduce_content() {
    if (packet().protocol == protocol_tcp && options_.syn) packet().tcp_flags = Syn;
    if (packet().protocol == protocol_tcp && !packet().tcp_flags) {
        const bool is_new = packet().state == ConnectionState::New;
        const unsigned established = packet().payload ? Psh | Ack : Ack;
        packet().tcp_flags = is_new ? Syn : established;
        assume("its TCP flags are " + tcp_flags_text(*packet().tcp_flags) + " (--flags)");
    }
    if (packet().protocol == protocol_icmp && !packet().icmp_type &&
        packet().state == ConnectionState::New) {
        packet().icmp_type = read_icmp_type("echo-request");
        assume("it is an echo request (--icmp-type)");
    }
}

void PacketMaker::deduce_interfaces() {
    packet().in = options_.in;
    packet().out = options_.out;
    const auto known = [&](const std::string& interface) {
        if (interface.empty()) fail("the settings name no WAN interface; set wan_ifname");
        return interface;
    };
    if (!options_.from_router && packet().in.empty()) {
        if (!packet().source) return fail("--src and --in are missing; give one of them");
        packet().in = known(networks_.interface_to(*packet().source));
        assume("it arrives on " + packet().in + ", the route to " + quad_text(*packet().source) +
               " (--in)");
    }
    if (packet().out.empty() && networks_.wan_if.empty())
        known(networks_.interface_to(*packet().destination));
}

void PacketMaker::deduce_mac() {
    if (packet().mac_dest || packet().destination != limited_broadcast) return;
    packet().mac_dest = broadcast_mac;
    assume(std::string("it is sent to the MAC address ") + broadcast_mac + " (--mac-dest)");
}

}  // namespace

std::variant<StatedPacket, PacketError> state_packet(const PacketOptions& options,
                                                     const Networks& networks) {
    return PacketMaker(options, networks).make();
}
