#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the golden messages with what tshark reads in them: usage check_dissection.py [--keep FILE] [DIRECTORY]

A stranger's reading of golden/gvcp.txt and gvsp.txt: no packet may be malformed, and each field that golden/dissection.txt
names must show the value told. Without tshark it exits with 77, or with 1 where the environment has CI.
"""

import argparse
import fnmatch
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path

CONTROL_PORT, STREAM_PORT, HOST_PORT = 3956, 20202, 50303


def read_blocks(path):
    """The blocks of a table: list of (head, {field: [values]}, bytes)."""
    blocks = []
    for line in path.read_text(encoding="utf-8").split("\n"):
        if not line or line.startswith("#"):
            continue
        if not line.startswith("  "):
            blocks.append((line.strip(), {}, bytearray()))
        elif line.startswith("  ="):
            blocks[-1][2].extend(bytes.fromhex(line[3:]))
        else:
            name, _, value = line.strip().partition(" ")
            value = value.strip()
            if name == "data":
                blocks[-1][1].setdefault(name, []).append(value)
            elif value.startswith('"'):
                blocks[-1][1][name] = [value.strip('"')]
            else:
                blocks[-1][1][name] = value.split()
    return blocks


def checksum(data):
    total = sum(struct.unpack(f">{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total ^ 0xFFFF


def frame(payload, source, destination, ports):
    udp = struct.pack(">4H", *ports, 8 + len(payload), 0) + payload
    head = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0, bytes(source), bytes(destination))
    return head[:10] + struct.pack(">H", checksum(head)) + head[12:] + udp


def write_pcap(path, packets):
    with open(path, "wb") as file:
        file.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))  # 101: IP without a link layer
        for number, packet in enumerate(packets):
            file.write(struct.pack("<4I", number, 0, len(packet), len(packet)) + packet)


def packet_of(number, table, head, payload):
    """Each message in a conversation of its own, so that none is taken for the answer to another."""
    host, device = (10, 1, number >> 8, number & 255), (10, 2, number >> 8, number & 255)
    if table == "gvsp":
        return frame(payload, device, host, (HOST_PORT, STREAM_PORT))
    if payload[:1] == b"\x42" and not head.startswith("event"):
        return frame(payload, host, device, (HOST_PORT, CONTROL_PORT))
    return frame(payload, device, host, (CONTROL_PORT, HOST_PORT))


def collect(node, found):
    """All fields of a packet, however deep: {name: [values in order]}."""
    for name, value in node:
        if isinstance(value, list) and value and isinstance(value[0], tuple):
            collect(value, found)
        else:
            found.setdefault(name, []).extend(value if isinstance(value, list) else [value])
    return found


def dissect(path):
    """Per packet: {field: [values]}."""
    out = subprocess.run(["tshark", "-r", path, "-d", f"udp.port=={STREAM_PORT},gvsp", "-T", "json"], check=True, capture_output=True)
    pairs = json.loads(out.stdout, object_pairs_hook=lambda items: items)
    return [collect(dict(dict(packet)["_source"])["layers"], {}) for packet in pairs]


def normal(text):
    """Numbers as numbers, bytes and addresses without their separators."""
    try:
        return int(text, 0)
    except ValueError:
        return text.replace(":", "").replace(" ", "").lower()


def part(values, shift, mask):
    """The same numbers with only some of their bits; without a shift and a mask as they are."""
    if not shift and not mask:
        return [normal(value) for value in values]
    return [int(value, 0) >> int(shift or 0) & int(mask or "-1", 0) for value in values]


TERM = re.compile(r"([^>&]+)(?:>>(\d+))?(?:&(\w+))?$")  # NAME, NAME>>SHIFT, NAME&MASK, NAME>>SHIFT&MASK


def shown(term, packet):
    """What the dissector shows under a term; names with | between them are taken together, in any order."""
    names, shift, mask = TERM.match(term).groups()
    values = [part(packet.get(name, []), shift, mask) for name in names.split("|")]
    return values[0] if len(values) == 1 else sorted(sum(values, []))


def wanted(values, term, fields):
    """The values that a rule tells, and the fields of the message they come from; None where the message has not all of these."""
    numbers, names = [], set()
    for value in values:
        if not value.startswith("="):
            numbers += part([value], None, None)
            continue
        name, shift, mask = TERM.match(value[1:]).groups()
        if name not in fields:
            return None, names
        numbers += part(fields[name], shift, mask)
        names.add(name)
    return sorted(numbers) if "|" in term else numbers, names


def compare_one(fields, packet, rules, unseen, malformed):
    """What is wrong with one message, and how many values were compared."""
    complaints, covered, count = [], {"status_name", "answer"} | unseen, 0
    if ("_ws.malformed" in packet) != malformed:
        complaints.append("not malformed, as an exception has it" if malformed else "malformed")
    for term, values in rules.items():
        expected, names = wanted(values, term, fields)
        if expected is None or names & unseen:
            continue
        covered |= names
        count += len(expected)
        found = shown(term, packet)
        if found != expected:
            complaints.append(f"{term} shows {found}, wanted {expected}")
    return complaints + [f"no rule looks at {name}" for name in fields if name not in covered], count


def rules_for(message, table, used):
    """The rules for a message, later ones over earlier ones, and the fields that it does not show."""
    rules, unseen = {}, set()
    for pattern, lines, _ in table:
        if fnmatch.fnmatchcase(message + " ", pattern + " *"):
            rules |= lines
            unseen |= set(lines.get("unseen", []))
            used.add(pattern)
    rules.pop("unseen", None)
    return rules, unseen


def compare(messages, dissected, table):
    complaints, count, used = [], Counter(), set()
    exceptions = {head.partition(" ")[2]: lines for head, lines, _ in table if head.startswith("except ")}
    for (name, head, fields, data), packet in zip(messages, dissected, strict=True):
        message = f"{name} {head}"
        exception = exceptions.pop(message, {})
        if "layer" in exception:
            found = ["an exception has it that this is read as another protocol"] if any(f.startswith(name) for f in packet) else []
        else:
            plain = head.partition(" ")[2] if head.split()[0] in ("accept", "status") else head
            rules, unseen = rules_for(f"{name} {plain}", table, used)
            if name == "gvcp":
                fields = {**fields, "length": [str(len(data) - 8)]}
            found, values = compare_one(fields, packet, rules, unseen | set(exception.get("unseen", [])), "malformed" in exception)
            count[name] += 1
            count["values"] += values
        count["exceptions"] += bool(exception)
        complaints += [f"{message}: {complaint}" for complaint in found]
    complaints += [f"exception for no message: {head}" for head in exceptions]
    complaints += [f"rules for no message: {head}" for head, _, _ in table if head not in used and not head.startswith("except ")]
    for complaint in complaints:
        print(complaint)
    print(f"check_dissection: {count['values']} values of {count['gvcp']} control messages and {count['gvsp']} stream packets "
          f"compared, {count['exceptions']} exceptions, {len(complaints)} complaints")
    return 1 if complaints or not count["gvcp"] or not count["gvsp"] else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--keep", help="write the capture to this file and leave it there")
    parser.add_argument("directory", nargs="?", type=Path, default=Path(__file__).parent / "golden")
    options = parser.parse_args()
    if not shutil.which("tshark"):
        print("check_dissection: no tshark here, nothing compared")
        return 1 if "CI" in os.environ else 77
    messages = [(table, *block) for table in ("gvcp", "gvsp") for block in read_blocks(options.directory / f"{table}.txt")]
    messages = [m for m in messages if m[1].split()[0] not in ("refuse", "chunk_chain") and "chunk_chain" not in m[1]]
    with tempfile.TemporaryDirectory() as folder:
        path = options.keep or f"{folder}/golden.pcap"
        write_pcap(path, [packet_of(i, table, head, bytes(data)) for i, (table, head, _, data) in enumerate(messages)])
        dissected = dissect(path)
    return compare(messages, dissected, read_blocks(options.directory / "dissection.txt"))


if __name__ == "__main__":
    sys.exit(main())
