// The lists in the settings of access control and URL blocking.
#ifndef RC_FIREWALL_BLOCK_LISTS_H
#define RC_FIREWALL_BLOCK_LISTS_H

#include <string_view>
#include <vector>

// The parts are views into the text that was parsed.

// "access_group": MAC addresses of 17 characters, separated by bytes 0x01.
std::vector<std::string_view> parse_trusted_macs(std::string_view group);

// "fw_block_keyword": keywords separated by bytes 0x01, cut to 127 characters; empty ones are
// skipped.
std::vector<std::string_view> parse_keywords(std::string_view list);

// "access_control": an ignored prefix of four characters, then service names separated by bytes
// 0x01 or blanks; at most 100, cut to 29 characters; empty ones are skipped.
std::vector<std::string_view> parse_blocked_services(std::string_view list);

#endif
