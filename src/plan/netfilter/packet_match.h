// The matches of rule options. Each function gets the option's arguments, which iptables accepts.
#ifndef RC_PLAN_NETFILTER_PACKET_MATCH_H
#define RC_PLAN_NETFILTER_PACKET_MATCH_H

#include "plan/netfilter/rule_options.h"

MatchAnswer match_in(OptionWords words, const Packet& packet);
MatchAnswer match_out(OptionWords words, const Packet& packet);
MatchAnswer match_protocol(OptionWords words, const Packet& packet);
MatchAnswer match_source(OptionWords words, const Packet& packet);
MatchAnswer match_destination(OptionWords words, const Packet& packet);
MatchAnswer match_source_range(OptionWords words, const Packet& packet);
MatchAnswer match_destination_range(OptionWords words, const Packet& packet);
MatchAnswer match_source_port(OptionWords words, const Packet& packet);
MatchAnswer match_destination_port(OptionWords words, const Packet& packet);
MatchAnswer match_syn(OptionWords words, const Packet& packet);
MatchAnswer match_tcp_flags(OptionWords words, const Packet& packet);
MatchAnswer match_mss(OptionWords words, const Packet& packet);
MatchAnswer match_icmp_type(OptionWords words, const Packet& packet);
MatchAnswer match_state(OptionWords words, const Packet& packet);
MatchAnswer match_mark(OptionWords words, const Packet& packet);
MatchAnswer match_mac_source(OptionWords words, const Packet& packet);
MatchAnswer match_mac_dest(OptionWords words, const Packet& packet);
MatchAnswer match_string(OptionWords words, const Packet& packet);
// Modules that match without an option.
MatchAnswer match_limit(OptionWords words, const Packet& packet);
MatchAnswer match_random(OptionWords words, const Packet& packet);

#endif
