// The properties of the parsers of lists, records and small files, for any text. A text contains no
// zero byte, like a setting; bytes are a file's.
#ifndef RC_TESTS_LISTS_H
#define RC_TESTS_LISTS_H

#include <string>
#include <string_view>

// firewall_lists.cc
void expect_block_lists(const std::string& text);
void expect_forwards(const std::string& text);
void expect_triggers(const std::string& text);
void expect_qos_rules(const std::string& text);
void expect_services(const std::string& text);

// other_lists.cc
void expect_numbers(const std::string& text);
void expect_fields(const std::string& text);
void expect_escapes(const std::string& text);
void expect_route(const std::string& text);
void expect_schedule(const std::string& text);
void expect_wireless_lists(const std::string& text);
void expect_shapes(const std::string& text);

// file_lists.cc
void expect_reservation(const std::string& text);
void expect_leases(std::string_view bytes);
void expect_small_files(std::string_view bytes);

#endif
