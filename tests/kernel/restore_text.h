// Rules as iptables-restore(8) reads them.
#ifndef RC_TESTS_KERNEL_RESTORE_TEXT_H
#define RC_TESTS_KERNEL_RESTORE_TEXT_H

#include <map>
#include <string>

#include "plan/netfilter/netfilter.h"

// Bits of a packet's TOS field, which stand for what the kernel would decide by its clock or at
// random: the packet exceeds every limit; no random choice matches it.
inline constexpr unsigned tos_over_limit = 0x10;
inline constexpr unsigned tos_not_drawn = 0x08;

// All tables. Rules that today's iptables refuses are translated as lab/adapters/iptables does it;
// limits and random choices become tests of the TOS bits above. `replaced` counts the replacements
// by what they replace.
std::string restore_text(const Netfilter& tables, std::map<std::string, size_t>& replaced);

#endif
