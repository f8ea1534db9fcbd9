#!/usr/bin/python3
"""What nvram check calls an error in a single value, the schema refuses; what it takes, the factory's form takes.

schema_check_test.py NVRAM SCHEMA FACTORY_IMAGE
"""

import json
import re
import subprocess
import sys
import tempfile

from jsonschema import Draft202012Validator

LETTER = "\u00e4"  # two bytes
TEXTS = (
    ["x", "1", "0", "-1", "yes", "999999", "08", "a b", "a;b", "a\tb", "a\nb", "a\x7fb", "\x01", "192.168.1", "192.168.1.300"]
    + ["192.168.010.1", "127.0.0.1", "0.0.0.1", "224.0.0.1", "240.0.0.1", "255.255.255.255", "10.20.30.40", "255.0.255.0"]
    + ["00:00:00:00:00:00", "01:00:5e:00:00:01", "ff:ff:ff:ff:ff:ff", "00-11-22-33-44-55", "an-interface-name", "auto"]
    + ["a" * length for length in (26, 27, 32, 33, 64, 65, 127, 128)]
    + [LETTER * length for length in (13, 14, 16, 17, 32, 33)]
    + [LETTER + "a" * length for length in (30, 31, 62, 63)]
    + ["\u20ac" * length for length in (8, 11, 22)]
)
# A form's problem says what is expected; a length's, how much is taken.
OF_ONE_VALUE = re.compile(r"; expected |; the maximum is \d+$")


def escaped(text):
    """A value as an image has it."""
    return re.sub(r"[\x00-\x1f\x7f\\]", lambda m: "\\\\" if m[0] == "\\" else f"\\x{ord(m[0]):02x}", text)


def errors_of(nvram, path):
    """The keys that have an error of their own."""
    output = subprocess.run([nvram, "check", "--json", path], stdout=subprocess.PIPE, check=False).stdout
    findings = [json.loads(line) for line in output.decode().splitlines()]
    return {f["key"] for f in findings if f["level"] == "error" and OF_ONE_VALUE.search(f["problem"])}


def main():
    nvram, schema_path, factory_path = sys.argv[1:]
    with open(schema_path, encoding="utf-8") as file:
        properties = json.load(file)["properties"]
    with open(factory_path, encoding="utf-8") as file:
        factory = file.read()
    validators = {key: Draft202012Validator(entry) for key, entry in properties.items()}
    complaints = []
    refused = taken = 0
    for text in TEXTS:
        with tempfile.NamedTemporaryFile("w", encoding="utf-8", newline="") as file:
            file.write(factory)
            file.writelines(f"{key}={escaped(text)}\n" for key in properties)
            file.flush()
            errors = errors_of(nvram, file.name)
        for key, validator in validators.items():
            if key in errors:
                refused += 1
                if validator.is_valid(text):
                    complaints.append(f"{key}={text!r}: an error to nvram check, but the schema takes it")
            elif validator.is_valid(text):
                taken += 1
    if refused < 5000 or taken < 1000:
        complaints.append(f"only {refused} errors and {taken} values that both take")
    if complaints:
        sys.exit("\n".join(complaints[:40]))
    print(f"ok: {refused} errors, all refused; {taken} values taken by both")


main()
