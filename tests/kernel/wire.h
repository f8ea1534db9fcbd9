// The kernel's packet filter in a network namespace, fed by two cables.
#ifndef RC_TESTS_KERNEL_WIRE_H
#define RC_TESTS_KERNEL_WIRE_H

#include <map>
#include <string>
#include <vector>

#include "frames.h"

// One cable: the router's interface, and the cable's other end in the namespace where the program
// starts.
struct Cable {
    std::string near;
    std::string far;
};

// What the kernel did with a packet.
struct KernelFate {
    bool accepted = false;
    // The interface by which it left; empty if the router received it itself.
    std::string out = {};
    Arrival arrival = {};
};

class Wire {
  public:
    // Enters the network namespace of that file, and stays there. Ends the program with a message
    // if something is not permitted.
    Wire(const std::string& net, const std::vector<Cable>& cables, std::string restore_program);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    // Loads the rules; an error message of iptables-restore, or empty.
    std::string load(const std::string& rules) const;
    // Sends the packets, each as the first of a connection. Packets that connection tracking could
    // take for one connection are sent one after the other, and it forgets all in between.
    std::vector<KernelFate> send(const std::vector<WirePacket>& packets);
    // Sends them one after the other; it forgets nothing before or in between.
    std::vector<KernelFate> send_on(const std::vector<WirePacket>& packets);
    void forget_connections();

  private:
    struct End {
        Cable cable;
        int far = -1;          // IPv4 frames there
        int far_signal = -1;   // frames that tell how far the kernel is
        int near_signal = -1;  // the same on the router's end
        int far_index = 0;
        int near_index = 0;
        Mac far_mac = {};
        Mac near_mac = {};
    };
    std::vector<End> ends_;
    std::string restore_program_;
    // Sockets for what the router receives, by protocol.
    std::map<unsigned, int> received_;
    int netlink_ = -1;
    int groups_ = -1;
    unsigned signals_ = 0;

    End& end_of(const std::string& near);
    void put(const WirePacket& packet, unsigned id);
    void wait_for_signal(int socket, unsigned number) const;
    void let_all_through();
    void collect(std::vector<KernelFate>& fates);
    void join(const WirePacket& packet, bool joins);
};

#endif
