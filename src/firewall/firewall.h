// The firewall: the rule scripts, one file per rule family, and QoS.
#ifndef RC_FIREWALL_FIREWALL_H
#define RC_FIREWALL_FIREWALL_H

#include <string>

#include "firewall/qos_rules.h"

// firewall.cc: the handlers. They return 0.
int create_firewall_cfg();
int start_firewall();
int stop_firewall();
// An interface's MTU; 0 if it cannot be read, with a message if no socket could be opened.
int get_if_mtu(const char* ifname);

// The rule families. Each writes its rules into the current rule script (rules.h).
void fw_pre_basic();
void fw_port_forward();
void fw_port_range_forward();
void fw_url_block();
void fw_access_control();

// special_apps.cc: writes /tmp/pnat.
void fw_special_apps();

// qos.cc: writes /tmp/qos.conf and starts it; removes the shaping.
void create_qos_cfg();
void stop_qos();
// Fills a cleared table from "qos", as parse_qos_rules does from a list.
int read_qos_rules(QosTable& table);

// The IPv4 address of an interface, the empty text if it has none.
std::string address_of(const char* ifname);

#endif
