#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Plants wrong assumptions in the codec, one at a time, and asks that the golden tables notice each.

plant_faults.py [ROOT]
Builds gigevision/ with its tests in a folder of its own, as it is (all must pass) and then with each fault; prints a table
of fault and first test that turned red. Exits with 1 when one stays green. Takes some minutes; no part of the test run.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

H, G, S = "gigevision/Gvsp.h", "gigevision/Gvcp.cpp", "gigevision/Gvsp.cpp"
FAULTS = [
    ("payload of a packet is 8 bytes more: the packet header is not counted", S,
     "kIpUdpBytes + GvspHeaderBytes(isExtended) + PayloadHeaderBytes(format)", "kIpUdpBytes + PayloadHeaderBytes(format)"),
    ("payload of a packet is 8 bytes less", S, "const std::size_t overhead = kIpUdpBytes", "const std::size_t overhead = 8 + kIpUdpBytes"),
    ("extended ids leave as much room as standard ones", S,
     "kIpUdpBytes + GvspHeaderBytes(isExtended)", "kIpUdpBytes + GvspHeaderBytes(isExtended && false)"),
    ("multi-part packets have no header of their own", S, "    case PacketFormat::MultiPart:\n        return 8;", "        return 8;\n    case PacketFormat::MultiPart:\n        return 0;"),
    ("an exact multiple has one more packet", S, "(payloadBytes % dataBytes != 0 ? 1 : 0)", "1"),
    ("the trailer's id counts from the leader's 0 without the payload's last", H, "return PayloadPackets(payloadBytes) + 1;", "return PayloadPackets(payloadBytes);"),
    ("payload packets count from 0", H, "return (packetId - 1) * dataBytes;", "return packetId * dataBytes;"),
    ("16-bit block ids wrap at 65536", H, "id >= 0xFFFF ? 1", "id >= 0xFFFF ? 0"),
    ("16-bit distance is modulo 65536", H, "countsZero ? 0x10000 : 0xFFFF;", "0x10000;"),
    ("the 65536th block has id 65536 mod 65536", H, "(number - 1) % 0xFFFF + 1", "number % 0x10000"),
    ("READMEM: count stands before the zero half", G, "GetBigEndian<std::uint16_t>(payload.data() + 6)};\n    return read.count", "GetBigEndian<std::uint16_t>(payload.data() + 4)};\n    return read.count"),
    ("READMEM: 540 bytes are allowed", G, "read.count > kMaxMemoryBytes ? std::nullopt", "read.count > kMaxGvcpPayload ? std::nullopt"),
    ("register values are little endian", G, "list.words[i] = GetBigEndian<std::uint32_t>(payload.data() + 4 * i);", "std::memcpy(&list.words[i], payload.data() + 4 * i, 4);"),
    ("resend: `last` = all ones is a packet id of 32 bits in both forms", "gigevision/Gvcp.h", "kToEnd = 0x00FFFFFF", "kToEnd = 0xFFFFFFFF"),
    ("resend, extended: block id stands first", G, "isExtended ? reader.Get<std::uint64_t>(12)", "isExtended ? reader.Get<std::uint64_t>(4)"),
    ("resend: the upper byte of 24-bit ids counts", G, "isExtended ? 0xFFFFFFFF : 0x00FFFFFF;", "0xFFFFFFFF;"),
    ("acknowledge: index stands in the first half", G, "return GetBigEndian<std::uint16_t>(payload.data() + 2);", "return GetBigEndian<std::uint16_t>(payload.data());"),
    ("acknowledge: code before status", G, "Status{GetBigEndian<std::uint16_t>(datagram.data())},\n                              GetBigEndian<std::uint16_t>(datagram.data() + 2)", "Status{GetBigEndian<std::uint16_t>(datagram.data() + 2)},\n                              GetBigEndian<std::uint16_t>(datagram.data())"),
    ("bytes behind the told length make a command malformed", G, "if (length > datagram.size() - kGvcpHeaderBytes) {", "if (length != datagram.size() - kGvcpHeaderBytes) {"),
    ("discovery: the MAC fills the upper half of its registers", G, "reader.Get(10, info.mac.size())", "reader.Get(8, info.mac.size())"),
    ("event: the size counts nothing but data, items have a fixed length", G, "std::size_t bytes = item.size != 0 ? item.size : least;", "std::size_t bytes = least;"),
    ("event, extended: the time stamp follows the id at 8", G, "reader.Get<std::uint64_t>(m_isExtended ? 16 : 8);", "reader.Get<std::uint64_t>(8);"),
    ("action: scheduled ones carry 12 bytes", G, "kActionBytes = 12, kScheduledActionBytes = 20", "kActionBytes = 12, kScheduledActionBytes = 12"),
    ("a positive status that is not known is an error", "gigevision/Status.h", "return (static_cast<std::uint16_t>(status) & 0x8000u) != 0;", "return static_cast<std::uint16_t>(status) != 0;"),
    ("extended packets: packet id before block id", S, "header.blockId = reader.Get<std::uint64_t>(8);\n        header.packetId = reader.Get<std::uint32_t>(16);", "header.blockId = reader.Get<std::uint64_t>(12);\n        header.packetId = reader.Get<std::uint32_t>(8);"),
    ("the format is the whole byte", S, "kFormatMask = 0x0F", "kFormatMask = 0x7F"),
    ("leader: padding stands before the offsets", S, "geometry.paddingX = reader.Get<std::uint16_t>(sizeOffset + 16);", "geometry.paddingX = reader.Get<std::uint16_t>(sizeOffset + 8);"),
    ("trailer: the lines stand at 8", S, "trailer.sizeY = reader.Get<std::uint32_t>(4);", "trailer.sizeY = reader.Get<std::uint32_t>(8);"),
    ("trailer of extended chunk mode ends like that of the image", S, "base != trailer.payloadType && IsKnown(base) ? kChunkFieldsBytes : 0;\n    switch", "0;\n    switch"),
    ("chunks: length before id", S, "const std::size_t length = reader.Get<std::uint32_t>(4);", "const std::size_t length = reader.Get<std::uint32_t>(0);"),
    ("a padded line is rounded down", S, "(sizeX * bits + 7) / 8", "sizeX * bits / 8"),
]


class Build:
    """The codec and its tests in a folder of their own."""

    def __init__(self, root, folder):
        self.folder = folder
        for part in ("gigevision", "tests/gigevision"):
            shutil.copytree(root / part, folder / part)
        self.sources = sorted([*folder.glob("gigevision/*.cpp"), *folder.glob("tests/gigevision/*.cpp")])
        self.stale = set(self.sources)

    def run(self, *command):
        return subprocess.run(command, cwd=self.folder, capture_output=True, text=True)

    def compile(self, source):
        return self.run("g++", "-std=c++20", "-O1", f"-I{self.folder}", f"-I{self.folder}/tests", "-c", source,
                        f'-DGOLDEN_FOLDER="{self.folder}/tests/gigevision/golden"', "-o", f"{source}.o")

    def write(self, file, text):
        (self.folder / file).write_text(text)
        self.stale |= {self.folder / file} if file.endswith(".cpp") else set(self.sources)

    def test(self):
        """The exit code, and the tests that failed."""
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            results = [*pool.map(self.compile, sorted(self.stale))]
        self.stale = set()
        results.append(self.run("g++", *(f"{source}.o" for source in self.sources), "-lgmock", "-lgtest", "-lgtest_main",
                                "-pthread", "-o", "test"))
        for result in results:
            if result.returncode != 0:
                sys.exit(f"it cannot be built: {result.stderr}")
        result = self.run("./test", "--gtest_brief=1")
        return result.returncode, re.findall(r"^\[  FAILED  \] (\w+\.\w+) \(", result.stdout, re.M)


def main():
    root = Path(sys.argv[1] if len(sys.argv) > 1 else Path(__file__).parent.parent.parent).resolve()
    with tempfile.TemporaryDirectory() as folder:
        build = Build(root, Path(folder))
        code, red = build.test()
        if code != 0:
            sys.exit(f"without a fault the tests do not pass: {red}")
        unnoticed = 0
        for name, file, right, wrong in FAULTS:
            text = (root / file).read_text()
            if text.count(right) != 1:
                sys.exit(f"{file} has '{right}' {text.count(right)} times")
            build.write(file, text.replace(right, wrong))
            code, red = build.test()
            build.write(file, text)
            unnoticed += code == 0
            print(f"{name}: {', '.join(red) or ('UNNOTICED' if code == 0 else 'crashes')}", flush=True)
    print(f"{len(FAULTS)} faults, {unnoticed} unnoticed")
    sys.exit(1 if unnoticed else 0)


if __name__ == "__main__":
    main()
