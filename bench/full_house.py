#!/usr/bin/env python3
"""Prints bench/full_house.txt: the factory settings with every list at its limit and every switch of the firewall on.

Lists without a limit of their own (keywords, trusted hosts, schedules) are as long as a household would ever make them.
"""

import pathlib
import sys

FACTORY = pathlib.Path(__file__).parent.parent / "lab/root/etc/default"

SERVICES_PREDEFINED = 60
SERVICES_OWN = 40
BLOCKED_SERVICES = 100
SINGLE_FORWARDS = 15
RANGE_FORWARDS = 10
# Three numbers with a comma each, twelve characters here, in a list of at most 511.
TRIGGERS = 42
QOS_RULES = 20
KEYWORDS = 100
TRUSTED_HOSTS = 100
# All hosts of the network except the router; the lease file has room for one more.
RESERVATIONS = 253
# Eighteen characters each in a list of at most 1023.
RADIO_MACS = 56
WDS_PEERS = 4
STATIC_ROUTES = 20


def mac(group, number):
    return f"02:{group:02x}:00:00:{number >> 8:02x}:{number & 255:02x}"


def records(count, record):
    return "\x01".join(record(i) for i in range(count))


def service(number):
    """Every third one has both protocols."""
    own = number >= SERVICES_PREDEFINED
    protocol = ("tcp", "udp", "both")[number % 3]
    port = 1000 + 10 * number
    return f"{'OWN' if own else 'SERVICE'}-{number:03d}:{protocol}:{port}-{port + 9}"


def qos_rule(number):
    direction = number % 2
    protocol = ("tcp", "udp", "both")[number % 3]
    fields = (1, direction, f"application-{number:02d}", 2000 + number, 2100 + number, protocol,
              f"192.168.1.{10 + number}", 40 + number, 0, number % 3)
    return "\x02".join(str(field) for field in fields)


def every_day(start, end):
    return records(7, lambda day: f"{day}:{start}-{end}")


def firewall():
    protocols = ("tcp", "udp")
    return {
        "fw_in_rules": records(SINGLE_FORWARDS, lambda i:
                               f"single-{i:02d}:1:x:{8000 + i}:{80 + i}:{protocols[i % 2]}:{100 + i}"),
        "fw_out_rules": records(RANGE_FORWARDS, lambda i:
                                f"range-{i:02d}:1:x:{20000 + 100 * i}:{20099 + 100 * i}:"
                                f"{(*protocols, 'both')[i % 3]}:{200 + i}"),
        "fw_spapp": records(TRIGGERS, lambda i:
                            f"{i}:1:application-{i:02d}:tcp:{6000 + i}-{6100 + i}:udp:{7000 + i}-{7100 + i}"),
        "fw_services_def": records(SERVICES_PREDEFINED, service),
        "fw_services": records(SERVICES_OWN, lambda i: service(SERVICES_PREDEFINED + i)),
        "access_control": "0000" + records(BLOCKED_SERVICES, lambda i: service(i).split(":")[0]),
        "access_group": records(TRUSTED_HOSTS, lambda i: mac(1, i)),
        "fw_block_keyword": records(KEYWORDS, lambda i: f"keyword-{i:03d}.example"),
        "qos": "\x01".join(qos_rule(i) for i in range(QOS_RULES)) + "\x01",
        # The whole day, so that the result does not depend on the time.
        "fw_schedule": every_day("0:0", "24:0"),
        "fw_schedule2": every_day("0:0", "24:0"),
        "ac_control": "2", "ac_sch": "1", "fw_block": "1", "fw_block_trust": "192.168.1.9", "fw_block_trust_enable": "1",
        "fw_dmz": "192.168.1.8", "fw_dmz_enable": "1", "fw_remote": "1", "fw_remote_type": "2",
        "fw_remote_range_start": "198.51.100.10", "fw_remote_range_end": "198.51.100.20",
        "fw_response_ping": "1", "http_password": "one of their own", "fw_trustenable": "1", "fw_ttl": "4", "igmp_enable": "1", "log_access": "1",
        "log_outgoing": "1", "qos_enable": "1", "wan_bandwidth": "20000", "wan_phy_ifname": "eth2.2",
        "mail_sendlog": "4", "mail_sh_day": "1", "mail_sh_hour": "6",
    }


def lan():
    return {
        "dhcp_start_ip": "192.168.1.2", "dhcp_end_ip": "192.168.1.254",
        "pcdb_list": records(RESERVATIONS, lambda i: f"host-{i + 2:03d};192.168.1.{i + 2};{mac(2, i)}"),
        "rt_static_route": " ".join(f"office-{i}:10.{i}.0.0:255.255.0.0:192.168.1.{i + 2}:2:1:1"
                                    for i in range(STATIC_ROUTES)),
    }


def radio():
    settings = {f"wds_list{i + 1}": mac(3, i) for i in range(WDS_PEERS)}
    for suffix in ("", "2"):
        for key in range(1, 5):
            settings[f"wifi_key{key}{suffix}"] = f"{key}" * 26
    return settings | {
        "wifi_access_control": "2", "wifi_access_list": records(RADIO_MACS, lambda i: mac(4, i)),
        "wds_enable": "1", "enable_ssid2": "1", "wifi_wep_on": "4", "wifi_wep_on2": "4",
        "wifi_psk_pwd": "a pass phrase of a household", "wifi_psk2_pwd": "a pass phrase of a household",
        "wifi_psk_pwd2": "a pass phrase for its guests", "wifi_psk2_pwd2": "a pass phrase for its guests",
        "wifi_bandwidth": "0", "h_wsc_enable": "1", "wsc_device_pin": "12345670",
        "wireless_sch_en": "enable", "wl_schedule": every_day("6:0", "23:30"),
    }


def factory():
    lines = FACTORY.read_text(encoding="ascii").splitlines()
    return dict(line.split("=", 1) for line in lines if line and not line.startswith("#"))


def escaped(value):
    return "".join(f"\\x{ord(c):02x}" if ord(c) < 32 else c for c in value)


def main():
    settings = factory() | firewall() | lan() | radio()
    for key in sorted(settings):
        sys.stdout.write(f"{key}={escaped(settings[key])}\n")


if __name__ == "__main__":
    main()
