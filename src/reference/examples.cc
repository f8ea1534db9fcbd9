// An example of each setting that is made of fields.
#include "reference/examples.h"

namespace {

constexpr Example examples[] = {
    {.key = "access_control", .value = "0000FTP\x01HTTP"},
    {.key = "access_group",
     .value = "00:11:22:aa:bb:cc\x01"
              "00:11:22:aa:bb:dd"},
    {.key = "fw_block_keyword", .value = "casino\x01lottery"},
    {.key = "fw_in_rules", .value = "web:1:0:8080:80:tcp:10"},
    {.key = "fw_out_rules", .value = "games:1:0:27000:27050:both:20"},
    {.key = "fw_schedule",
     .value = "1:8:30-17:0\x01"
              "2:8:30-17:0"},
    {.key = "fw_schedule2", .value = "5:22:0-6:0"},
    {.key = "fw_services", .value = "Printer:tcp:9100-9102"},
    {.key = "fw_services_def", .value = "FTP:tcp:20-21\x01HTTP:tcp:80-80"},
    {.key = "fw_spapp", .value = "0:1:calls:tcp:6000-6010:udp:7000-7010\x01"},
    {.key = "pcdb_list", .value = "pc1;192.168.1.20;00:11:22:aa:bb:cc"},
    {.key = "qos",
     .value = "1\x02"
              "0\x02"
              "calls\x02"
              "5060\x02"
              "5061\x02"
              "udp\x02"
              "0\x02"
              "0\x02"
              "0\x02"
              "0\x01"},
    {.key = "rt_static_route", .value = "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"},
    {.key = "wifi_access_list",
     .value = "00:11:22:aa:bb:cc\x01"
              "00:11:22:aa:bb:dd"},
    {.key = "wl_schedule",
     .value = "1:8:0-22:0\x01"
              "0:0:0-0:0"},
};

}  // namespace

std::span<const Example> setting_examples() {
    return examples;
}

std::string_view example_of(std::span<const Example> list, std::string_view key) {
    for (const Example& example : list)
        if (key == example.key) return example.value;
    return "";
}
