"""Secrets that a test plants, and the search for them in an archive."""

import io
import random
import subprocess
import tarfile
import tempfile

PART = 6


def secret_keys(nvram, factory):
    """The keys that nvram hides, of those in the factory settings."""
    with tempfile.TemporaryDirectory() as root:
        for name in ("etc", "tmp"):
            subprocess.run(["mkdir", f"{root}/{name}"], check=True)
        with open(factory, encoding="utf-8") as lines, open(f"{root}/tmp/nvram", "w", encoding="utf-8") as copy:
            for line in lines:
                if "=" in line and not line.startswith("#"):
                    copy.write(line.split("=")[0] + "=x\n")
        shown = subprocess.run([nvram, "--root", root, "show"], check=True, capture_output=True, text=True).stdout
    return [line.split("=")[0] for line in shown.splitlines() if line.endswith("=********")]


def canaries(keys):
    """A text for each key; no two have a part in common, and some need quoting."""
    source = random.Random(17)
    letters = "bcdfghjkmnpqrstvwxzBCDFGHJKMNPQRSTVWXZ23456789"
    special = ["", "'", '"', "\\", "$", "%"]
    texts = {}
    for number, key in enumerate(keys):
        text = "".join(source.choice(letters) for _ in range(16))
        texts[key] = text[:7] + special[number % len(special)] + text[7:]
    return texts


def members(archive):
    """Name and content of each member, below the folder rc-bundle."""
    found = {}
    with tarfile.open(fileobj=io.BytesIO(archive)) as tar:
        for member in tar:
            if not member.isfile() or member.mode != 0o600 or member.uid != 0 or member.gid != 0:
                raise AssertionError(f"{member.name}: not a plain file of root's")
            folder, _, name = member.name.partition("/")
            if folder != "rc-bundle" or name in found:
                raise AssertionError(f"{member.name}: twice, or elsewhere")
            found[name] = tar.extractfile(member).read()
    return found


def leaks(archive_members, texts):
    """Where a part of a canary is: lines 'member: key: part'."""
    found = []
    for name, content in archive_members.items():
        text = (name + "\n").encode().lower() + content.lower()
        for key, canary in texts.items():
            raw = canary.encode().lower()
            for at in range(len(raw) - PART + 1):
                if raw[at:at + PART] in text:
                    found.append(f"{name}: {key}: {canary[at:at + PART]}")
    return found
