// Properties of the firewall's lists.

#include <limits.h>

#include <algorithm>
#include <span>

#include "core/limits.h"
#include "core/text.h"
#include "expect.h"
#include "firewall/block_lists.h"
#include "firewall/forward_lists.h"
#include "firewall/qos_rules.h"
#include "firewall/services.h"
#include "firewall/trigger_lists.h"
#include "lists.h"

namespace {

void expect_parts(const std::vector<std::string_view>& parts, std::string_view text,
                  std::string_view separators, size_t limit) {
    for (const std::string_view part : parts) {
        expect(!part.empty() && part.size() <= limit, "a part is not empty and within the limit");
        expect(lies_in(part, text), "a part is a part of the text");
        expect(part.find_first_of(separators) == part.npos, "no part contains a separator");
    }
}

std::string written(const Forward& forward) {
    return "n:1:a:" + forward.first + ":" + forward.second + ":" + forward.protocol + ":" +
           forward.host;
}

void expect_forwards_of(const std::string& text, const ForwardStore& store) {
    const std::vector<Forward> forwards = parse_forwards(text, store);
    expect(forwards.size() <= store.capacity, "no more forwards than the store holds");
    for (const Forward& forward : forwards) {
        expect(forward.first.size() <= store.port_width, "the outside port's width");
        expect(forward.second.size() <= store.port_width, "the inside port's width");
        expect(forward.protocol.size() <= store.protocol_width, "the protocol's width");
        expect(forward.host.size() <= store.host_width, "the host's width");
        const std::vector<Forward> again = parse_forwards(written(forward), store);
        expect(again.size() == 1, "a written forward can be read");
        expect(again[0].first == forward.first && again[0].second == forward.second &&
                   again[0].protocol == forward.protocol && again[0].host == forward.host,
               "a forward is unchanged after writing and reading");
    }
}

std::string written(const QosRule& rule) {
    std::string text = std::to_string(rule.enabled) + '\x02' + std::to_string(rule.direction);
    for (const std::string& field : {rule.name, rule.first_port, rule.last_port, rule.protocol,
                                     rule.first_address, rule.last_octet, rule.rate})
        text += '\x02' + field;
    return text + '\x02' + std::to_string(rule.priority);
}

}  // namespace

void expect_block_lists(const std::string& text) {
    for (const std::string_view mac : parse_trusted_macs(text)) {
        expect(mac.size() <= limits::mac_length, "an address has at most 17 characters");
        expect(lies_in(mac, text), "an address is a part of the text");
    }
    expect(parse_trusted_macs(text).size() <= text.size() / limits::mac_length + 1,
           "no more addresses than the text has room for");

    expect_parts(parse_keywords(text), text, "\x01", limits::keyword);
    const std::vector<std::string_view> services = parse_blocked_services(text);
    expect(services.size() <= limits::blocked_services, "no more blocked services than count");
    expect_parts(services, text, "\x01 ", limits::blocked_service_name);
}

void expect_forwards(const std::string& text) {
    expect_forwards_of(text, in_rules);
    expect_forwards_of(text, out_rules);

    const std::string prefix = lan_prefix(text);
    expect(prefix.size() <= 12 && text.starts_with(prefix), "a prefix begins the address");
    const int bits = prefix_length(text.c_str());
    expect(bits >= 0 && bits <= 32, "a mask has 0 to 32 bits");
}

void expect_triggers(const std::string& text) {
    const TriggerLists lists = parse_triggers(text);
    expect(lists.outport.size() <= limits::trigger_list, "the outgoing list is within its limit");
    expect(lists.inport.size() <= limits::trigger_list, "the incoming list is within its limit");
    expect((lists.entries > 0) == !lists.outport.empty(), "an entry for each application");
    // Code, first and last port, and the commas between them.
    const auto least = static_cast<size_t>(lists.entries) * 3;
    for (const std::string& list : {lists.outport, lists.inport})
        expect(lists.entries == 0 ||
                   static_cast<size_t>(std::count(list.begin(), list.end(), ',')) >= least - 1,
               "three values for each entry");
}

void expect_qos_rules(const std::string& text) {
    QosTable table;
    const int count = parse_qos_rules(text, table);
    expect((count == -1) == text.empty(), "only the empty list has no records");
    expect(count <= static_cast<int>(limits::qos_rules), "no more rules than the table has");
    QosTable again;
    for (const QosRule& rule : std::span(table).first(static_cast<size_t>(std::max(count, 0)))) {
        expect(rule.name.size() <= limits::qos_rule_name && rule.first_port.size() <= 5,
               "a name's and a port's width");
        expect(rule.last_port.size() <= 5 && rule.protocol.size() <= 4, "a protocol's width");
        expect(rule.first_address.size() <= 15 && rule.last_octet.size() <= 3,
               "an address's width");
        expect(rule.rate.size() <= 7, "a rate's width");
        expect(rule.priority >= SCHAR_MIN && rule.priority <= SCHAR_MAX, "a class is a byte");
        expect(parse_qos_rules(written(rule), again) == 1, "a written rule can be read");
        expect(written(again[0]) == written(rule), "a rule is unchanged after writing and reading");
        const std::string end = make_range_end(rule.first_address, rule.last_octet);
        expect(end.ends_with("." + rule.last_octet), "a range ends in the other octet");
    }
}

void expect_services(const std::string& text) {
    std::string_view rest = text;
    const std::string name(take_field(rest, ':'));
    Service service;
    if (search_serv(text, service, name) != 0) {
        expect(service.name.empty(), "a service that is not found leaves the record unchanged");
        return;
    }
    expect(service.name == name && !service.protocol.empty(),
           "the service found is the requested one");
    expect(service.name.size() <= limits::service_name, "a name's width");
    Service again;
    const std::string record = service.name + ":" + service.protocol + ":" +
                               std::to_string(service.first_port) + "-" +
                               std::to_string(service.last_port);
    // A name with a separator in it was cut from a longer one.
    if (service.name.find('\x01') != std::string::npos) return;
    expect(search_serv(record, again, name) == 0, "a written service is found");
    expect(again.first_port == service.first_port && again.last_port == service.last_port,
           "a service is unchanged after writing and reading");
}
