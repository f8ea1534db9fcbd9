#!/usr/bin/python3
"""The schema of the settings: it accepts the factory settings and valid entries, and rejects errors.

schema_test.py SCHEMA FACTORY_IMAGE
"""

import json
import re
import sys

from jsonschema import Draft202012Validator

# Values that an integrator might enter, and errors that a form must reject.
GOOD = (
    ("wan_mode", "pppoe"),
    ("wan_mode", ""),
    ("lan_ipaddr", "10.0.0.1"),
    ("lan_netmask", "255.255.254.0"),
    ("fw_remote_port", "65535"),
    ("wan_macaddr", "00:1A:2b:3c:4d:5e"),
    ("wan_macaddr", ""),
    ("http_password", ""),
    ("wifi_ssid", "\u00e4" * 16),
    ("wifi_ssid", "M\u00fcllers Netz im B\u00fcro"),
    ("lan_bipaddr", "255.255.255.255"),
    ("ntp_server", "0.pool.example.org"),
    ("fw_time_zone", "+5 a1"),
    ("wifi_region", "South America"),
    ("fw_in_rules", "web:1:x:8080:80:tcp:10\x01:0::1:1:udp:254\x01"),
    ("fw_schedule", "1:08:00-17:30"),
    ("access_control", "0000FTP\x01HTTP"),
    ("qos", "1\x020\x02calls\x025060\x025061\x02udp\x02192.168.1.10\x0220\x02512\x029\x01"),
    ("rt_static_route", "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1:1"),
    ("some_other_program", "anything"),
)
BAD = (
    ("wan_mode", "dhcp"),
    ("wan_mode", "DHCPC"),
    ("lan_ipaddr", "192.168.1"),
    ("lan_ipaddr", "192.168.1.256"),
    ("lan_ipaddr", "192.168.1.1\n"),
    ("lan_ipaddr", "192.168.1.1;reboot"),
    ("lan_ipaddr", ""),
    ("lan_netmask", "255.255.0.255"),
    ("fw_remote_port", "65536"),
    ("fw_remote_port", "0"),
    ("fw_remote_port", "80800"),
    ("fw_remote_port", "http"),
    ("fw_remote_port", 8080),
    ("wan_macaddr", "00-1A-2b-3c-4d-5e"),
    ("fw_nat", "yes"),
    ("wan_mtu", "1501"),
    ("wan_mtu", "67"),
    ("ntp_server", "time server"),
    ("wan_phy_ifname", "an-interface-name"),
    ("fw_time_zone", "+14"),
    ("wifi_ssid", "a name of thirty-three characters"),
    ("fw_in_rules", "web:1:x:8080:80:icmp:10"),
    ("fw_in_rules", "web:1:x:8080:80:tcp:255"),
    ("fw_in_rules", "web:1:8080:80:tcp:10"),
    ("fw_schedule", "7:8:0-17:0"),
    ("fw_schedule", "1:8:0-25:0"),
    ("fw_schedule", "1:8:0-17:0 2:8:0-17:0"),
    ("qos", "1:0:calls:5060:5061:udp:0:0:0:0"),
    ("rt_static_route", "office:10.1.0.0:255.255.0.0:192.168.1.254:2:1"),
    ("lan_ipaddr", "127.0.0.1"),
    ("lan_ipaddr", "192.168.010.1"),
    ("wan_macaddr", "01:00:5e:00:00:01"),
    ("http_username", "two\nlines"),
    ("wifi_ssid", "\u00e4" * 17),
    ("pcdb_list", "pc\n;192.168.1.40;00:11:22:33:44:55"),
    ("some_other_program", 1),
)
SECRET = ("http_password", "pppoe_password", "wifi_psk_pwd", "wifi_key1", "wsc_device_pin")
NOT_SECRET = ("http_username", "wifi_key_len", "wifi_ssid")


def unescaped(text):
    """The unescaped value of a text image."""
    return re.sub(r"\\(\\|x[0-9a-fA-F]{2})", lambda m: "\\" if m[1] == "\\" else chr(int(m[1][1:], 16)), text)


def image(path):
    """The settings of a text image."""
    with open(path, encoding="utf-8") as file:
        lines = [line.rstrip("\n") for line in file]
    pairs = [line.split("=", 1) for line in lines if line and not line.startswith("#")]
    return {key: unescaped(value) for key, value in pairs}


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    validator = Draft202012Validator(schema)
    properties = schema["properties"]
    complaints = []

    def check(condition, what):
        if not condition:
            complaints.append(what)

    factory = image(sys.argv[2])
    check(len(factory) > 200, f"only {len(factory)} factory settings")
    for error in validator.iter_errors(factory):
        check(False, f"the factory settings are refused: {error.message} at {list(error.path)}")
    defaults = {key: entry["default"] for key, entry in properties.items()}
    check(defaults.keys() >= factory.keys(), f"not in the schema: {factory.keys() - defaults.keys()}")
    for key, value in factory.items():
        check(defaults.get(key) == value, f"{key}: the default is {defaults.get(key)!r}, not {value!r}")

    for key, value in GOOD:
        for error in validator.iter_errors({key: value}):
            check(False, f"{key}={value!r} is refused: {error.message}")
    for key, value in BAD:
        check(not validator.is_valid({key: value}), f"{key}={value!r} is taken")
    for key in SECRET:
        check(properties[key].get("writeOnly") is True, f"{key} is no secret")
    for key in NOT_SECRET:
        check("writeOnly" not in properties[key], f"{key} is a secret")
    for key, entry in properties.items():
        check(entry["title"] and entry["description"], f"{key} is not described")

    if complaints:
        sys.exit("\n".join(complaints))
    print(f"ok: {len(properties)} properties, {len(GOOD)} good and {len(BAD)} bad values")


main()
