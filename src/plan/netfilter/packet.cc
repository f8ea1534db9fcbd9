// A packet's words.

#include "plan/netfilter/packet.h"

const char* state_name(ConnectionState state) {
    switch (state) {
        case ConnectionState::New:
            return "NEW";
        case ConnectionState::Established:
            return "ESTABLISHED";
        case ConnectionState::Related:
            return "RELATED";
        case ConnectionState::Invalid:
            break;
    }
    return "INVALID";
}
