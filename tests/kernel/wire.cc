// Sends and collects packets with sockets of both ends of the cables.

#include "wire.h"

#include <arpa/inet.h>
#include <errno.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <linux/netfilter/nfnetlink.h>
#include <linux/netfilter/nfnetlink_conntrack.h>
#include <linux/netlink.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "core/text.h"
#include "plan/netfilter/networks.h"

namespace {

// For local experiments (IEEE 802).
constexpr unsigned signal_type = 0x88b5;
// As many as fit into a socket's buffer, even if all arrive at one.
constexpr size_t most_at_once = 100;
// Milliseconds; only a hang reaches it.
constexpr int hang_limit = 300'000;

[[noreturn]] void give_up(const std::string& what) {
    fprintf(stderr, "kernel_exposure: %s: %s\n", what.c_str(), strerror(errno));
    exit(2);
}

int checked(int result, const std::string& what) {
    if (result < 0) give_up(what);
    return result;
}

int link_socket(unsigned type, int index, const std::string& name) {
    const int link =
        checked(socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, 0), "packet socket");
    sockaddr_ll place = {};
    place.sll_family = AF_PACKET;
    place.sll_protocol = htons(static_cast<uint16_t>(type));
    place.sll_ifindex = index;
    checked(bind(link, reinterpret_cast<const sockaddr*>(&place), sizeof place), name);
    return link;
}

int index_of(const std::string& name) {
    const unsigned index = if_nametoindex(name.c_str());
    if (index == 0) give_up(name);
    return static_cast<int>(index);
}

Mac hardware_address(int any_socket, const std::string& name) {
    ifreq request = {};
    name.copy(request.ifr_name, IFNAMSIZ - 1);
    checked(ioctl(any_socket, SIOCGIFHWADDR, &request), name);
    Mac mac;
    std::copy_n(request.ifr_hwaddr.sa_data, mac.size(), mac.begin());
    return mac;
}

void send_frame(int link, int index, const Bytes& frame) {
    sockaddr_ll place = {};
    place.sll_family = AF_PACKET;
    place.sll_ifindex = index;
    place.sll_halen = ETH_ALEN;
    checked(static_cast<int>(sendto(link, frame.data(), frame.size(), 0,
                                    reinterpret_cast<const sockaddr*>(&place), sizeof place)),
            "send");
}

Bytes signal_frame(const Mac& from, const Mac& to, unsigned number) {
    Bytes frame(to.begin(), to.end());
    frame.insert(frame.end(), from.begin(), from.end());
    for (const unsigned value :
         {signal_type >> 8, signal_type, number >> 24, number >> 16, number >> 8, number})
        frame.push_back(static_cast<unsigned char>(value));
    return frame;
}

// Keeps the program on one processor, which then handles all packets in the order in which they
// were sent.
class OneProcessor {
  public:
    OneProcessor() {
        checked(sched_getaffinity(0, sizeof before_, &before_), "processor");
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(static_cast<size_t>(sched_getcpu()), &one);
        checked(sched_setaffinity(0, sizeof one, &one), "processor");
    }
    ~OneProcessor() { sched_setaffinity(0, sizeof before_, &before_); }
    OneProcessor(const OneProcessor&) = delete;
    OneProcessor& operator=(const OneProcessor&) = delete;

  private:
    cpu_set_t before_ = {};
};

// Whether connection tracking could take two packets for one connection, or could give two
// connections the same addresses and ports when it translates them.
class Together {
  public:
    bool takes(const Packet& packet) {
        if (packet.protocol == protocol_icmp) return true;  // the ids differ
        if (packet.protocol != protocol_tcp && packet.protocol != protocol_udp)
            return protocols_.insert(packet.protocol).second;
        const unsigned from = packet.source_port.value_or(0);
        const unsigned to = packet.destination_port.value_or(0);
        if (sources_.contains(from) || destinations_.contains(from) || sources_.contains(to))
            return false;
        sources_.insert(from);
        destinations_.insert(to);
        return true;
    }

  private:
    std::set<unsigned> protocols_;
    std::set<unsigned> sources_;
    std::set<unsigned> destinations_;
};

}  // namespace

Wire::Wire(const std::string& net, const std::vector<Cable>& cables, std::string restore_program)
    : restore_program_(std::move(restore_program)) {
    for (const Cable& cable : cables) {
        End end;
        end.cable = cable;
        end.far_index = index_of(cable.far);
        end.far = link_socket(ETHERTYPE_IP, end.far_index, cable.far);
        end.far_signal = link_socket(signal_type, end.far_index, cable.far);
        end.far_mac = hardware_address(end.far, cable.far);
        ends_.push_back(end);
    }
    const int space = checked(open(net.c_str(), O_RDONLY | O_CLOEXEC), net);
    checked(setns(space, CLONE_NEWNET), net);
    close(space);
    for (End& end : ends_) {
        end.near_index = index_of(end.cable.near);
        end.near_signal = link_socket(signal_type, end.near_index, end.cable.near);
        end.near_mac = hardware_address(end.near_signal, end.cable.near);
    }
    for (unsigned protocol = 1; protocol <= 255; protocol++)
        received_[protocol] = checked(
            socket(AF_INET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, static_cast<int>(protocol)),
            "raw socket");
    netlink_ = checked(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_NETFILTER), "conntrack");
    groups_ = checked(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket");
}

Wire::~Wire() {
    for (const End& end : ends_)
        for (const int each : {end.far, end.far_signal, end.near_signal}) close(each);
    for (const auto& [protocol, each] : received_) close(each);
    close(netlink_);
    close(groups_);
}

std::string Wire::load(const std::string& rules) const {
    FILE* pipe = popen(restore_program_.c_str(), "w");
    if (pipe == nullptr) give_up(restore_program_);
    const bool written = fwrite(rules.data(), 1, rules.size(), pipe) == rules.size();
    return pclose(pipe) == 0 && written ? "" : "the kernel does not take the rules";
}

void Wire::forget_connections() {
    struct {
        nlmsghdr header;
        nfgenmsg message;
    } request = {};
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = NFNL_SUBSYS_CTNETLINK << 8 | IPCTNL_MSG_CT_DELETE;
    request.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
    request.message.version = NFNETLINK_V0;
    checked(static_cast<int>(::send(netlink_, &request, sizeof request, 0)), "conntrack");
    struct {
        nlmsghdr header;
        nlmsgerr error;
        char rest[256];
    } answer = {};
    checked(static_cast<int>(recv(netlink_, &answer, sizeof answer, 0)), "conntrack");
    errno = -answer.error.error;
    if (answer.header.nlmsg_type != NLMSG_ERROR || answer.error.error != 0) give_up("conntrack");
}

Wire::End& Wire::end_of(const std::string& near) {
    const auto found =
        std::ranges::find_if(ends_, [&](const End& end) { return end.cable.near == near; });
    if (found == ends_.end()) give_up("no cable to " + near);
    return *found;
}

void Wire::put(const WirePacket& packet, unsigned id) {
    const End& end = end_of(packet.packet.in);
    send_frame(end.far, end.far_index, frame_of(packet, id, end.far_mac, end.near_mac));
}

void Wire::wait_for_signal(int socket, unsigned number) const {
    while (true) {
        pollfd wanted = {.fd = socket, .events = POLLIN, .revents = 0};
        const int ready = poll(&wanted, 1, hang_limit);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) give_up("the kernel's cables hang");
        unsigned char frame[64];
        const ssize_t size = recv(socket, frame, sizeof frame, 0);
        uint32_t seen = 0;
        if (size < static_cast<ssize_t>(ETH_HLEN + sizeof seen)) continue;
        memcpy(&seen, frame + ETH_HLEN, sizeof seen);
        if (ntohl(seen) == number) return;
    }
}

// A processor handles frames in order. So when a frame has gone to the router's end, all packets
// before it have passed the rules; and when another has come back, all that they sent has arrived.
void Wire::let_all_through() {
    const unsigned number = ++signals_;
    const End& end = ends_[0];
    send_frame(end.far_signal, end.far_index, signal_frame(end.far_mac, end.near_mac, number));
    wait_for_signal(end.near_signal, number);
    send_frame(end.near_signal, end.near_index, signal_frame(end.near_mac, end.far_mac, number));
    wait_for_signal(end.far_signal, number);
}

void Wire::collect(std::vector<KernelFate>& fates) {
    unsigned char buffer[2048];
    const auto drain = [&](int socket, size_t header, const std::string& out) {
        while (true) {
            const ssize_t size = recv(socket, buffer, sizeof buffer, 0);
            if (size < 0) return;
            const std::span<const unsigned char> all(buffer, static_cast<size_t>(size));
            if (all.size() < header) continue;
            const std::optional<Arrival> arrival = read_arrival(all.subspan(header));
            if (arrival && arrival->id > 0 && arrival->id <= fates.size())
                fates[arrival->id - 1] = {.accepted = true, .out = out, .arrival = *arrival};
        }
    };
    for (const End& end : ends_) drain(end.far, ETH_HLEN, end.cable.near);
    for (const auto& [protocol, socket] : received_) drain(socket, 0, "");
}

// The router receives packets to a group only if it has joined it.
void Wire::join(const WirePacket& packet, bool joins) {
    const Ipv4 destination = packet.packet.destination.value_or(0);
    if (!multicasts.holds(destination)) return;
    ip_mreqn request = {};
    request.imr_multiaddr.s_addr = htonl(destination);
    request.imr_ifindex = end_of(packet.packet.in).near_index;
    // Another packet may have joined or left it.
    setsockopt(groups_, IPPROTO_IP, joins ? IP_ADD_MEMBERSHIP : IP_DROP_MEMBERSHIP, &request,
               sizeof request);
}

std::vector<KernelFate> Wire::send_on(const std::vector<WirePacket>& packets) {
    const OneProcessor here;
    std::vector<KernelFate> fates(packets.size());
    for (const WirePacket& packet : packets) join(packet, true);
    for (size_t i = 0; i < packets.size(); i++) put(packets[i], static_cast<unsigned>(i + 1));
    let_all_through();
    collect(fates);
    for (const WirePacket& packet : packets) join(packet, false);
    return fates;
}

std::vector<KernelFate> Wire::send(const std::vector<WirePacket>& packets) {
    std::vector<KernelFate> fates(packets.size());
    std::vector<size_t> waiting(packets.size());
    for (size_t i = 0; i < waiting.size(); i++) waiting[i] = i;
    while (!waiting.empty()) {
        Together together;
        std::vector<WirePacket> batch;
        std::vector<size_t> places;
        std::vector<size_t> later;
        for (const size_t place : waiting) {
            const bool now = batch.size() < most_at_once && together.takes(packets[place].packet);
            (now ? places : later).push_back(place);
            if (now) batch.push_back(packets[place]);
        }
        forget_connections();
        const std::vector<KernelFate> some = send_on(batch);
        for (size_t i = 0; i < places.size(); i++) fates[places[i]] = some[i];
        waiting = std::move(later);
    }
    return fates;
}
