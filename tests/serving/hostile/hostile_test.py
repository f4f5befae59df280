#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A served camera in a network where somebody sends commands under names that are not his.

hostile_test.py TOOL CLIENT [COMMANDS]
Two network namespaces, joined by a cable: in one the camera is served, in the other COMMANDS (1,000,000) datagrams are sent
from spoofed addresses, whole ones, cut ones and noise, while CLIENT takes a stream from the camera. Asserts that the answers
hold the told budget, that memory, threads and log lines stay flat, and that no image is lost. Exits with 77 and a line where
no namespace can be had; with 1 if CI is set.
"""

import json
import os
import random
import re
import socket
import struct
import subprocess
import sys
import threading
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
from namespaces import Server, enter_namespace, run

CAMERA, CLIENT_HOST, FIRST_VICTIM, VICTIMS = "10.1.0.2", "10.1.0.1", 0x0A020000, 5000
ALL_BURST, ALL_RATE = 4 << 20, 1 << 20  # bytes, bytes/s: what others may get in all


def command(number, payload, flags=1, request=7):
    return struct.pack(">BBHHH", 0x42, flags, number, len(payload), request) + payload


def datagrams(rng):
    """What is sent: commands that would be answered by far more than they are, and all kinds of nonsense."""
    whole = [command(0x0002, b"", 0x11),
             command(0x0084, struct.pack(">IHH", 0x400000, 0, 536)),
             command(0x0084, struct.pack(">IHH", 0x0200, 0, 512)),
             command(0x0080, b"".join(struct.pack(">I", 4 * k) for k in range(64))),
             command(0x0082, struct.pack(">II", 0x0D18, 0x0A010001)),
             command(0x0082, struct.pack(">II", 0x0A00, 0)),
             command(0x0040, struct.pack(">HHII", 0, 1, 0, 0x00FFFFFF), 0),
             command(0x0004, bytes(56), 0x11), command(0x0100, bytes(12)), command(0x00C0, bytes(16)),
             command(0x0777, bytes(8))]
    kinds = whole + [part[:rng.randrange(len(part))] for part in whole] + [rng.randbytes(rng.randrange(64)) for _ in range(8)]
    kinds += [command(rng.randrange(0x0110), rng.randbytes(4 * rng.randrange(20)), rng.randrange(256)) for _ in range(40)]
    return kinds


def checksum(header):
    total = sum(struct.unpack(f">{len(header) // 2}H", header))
    total = (total & 0xFFFF) + (total >> 16)
    return ~((total & 0xFFFF) + (total >> 16)) & 0xFFFF


def attack(commands):
    """Runs in the other namespace; prints the seconds that it took."""
    rng = random.Random(12)
    packets = []
    target = socket.inet_aton(CAMERA)
    for data in datagrams(rng):
        for _ in range(50):
            source = struct.pack(">I", FIRST_VICTIM + rng.randrange(VICTIMS))
            udp = struct.pack(">HHHH", rng.randrange(1024, 65536), 3956, 8 + len(data), 0) + data
            header = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 1, 0, 64, 17, 0, source, target)
            packets.append(header[:10] + struct.pack(">H", checksum(header)) + header[12:] + udp)
    rng.shuffle(packets)
    started = time.monotonic()
    with socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW) as raw:
        for number in range(commands):
            try:
                raw.sendto(packets[number % len(packets)], (CAMERA, 0))
            except OSError:
                pass  # the queue of the cable is full: it is lost there
    print(time.monotonic() - started)


class Counter(threading.Thread):
    """Counts bytes of datagrams that the camera sends to the victims."""

    def __init__(self):
        super().__init__(daemon=True)
        self.bytes = self.packets = 0
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(3))  # all: what is sent, too
        self.socket.setsockopt(socket.SOL_SOCKET, 33, 1 << 26)  # SO_RCVBUFFORCE
        self.socket.bind(("served", 0))

    def run(self):
        while True:
            packet, address = self.socket.recvfrom(65536)
            if len(packet) > 34 and address[1] == 0x0800 and address[2] == 4 and FIRST_VICTIM <= struct.unpack(">I", packet[30:34])[0] < FIRST_VICTIM + VICTIMS:
                self.packets += 1
                self.bytes += len(packet) - 14 - 28


def status(pid):
    text = Path(f"/proc/{pid}/status").read_text()
    return {name: int(re.search(rf"{name}:\s+(\d+)", text).group(1)) for name in ("VmRSS", "Threads")}


def server_pid(process):
    """The program that the tool became, or started."""
    children = Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()
    return int(children[0]) if children else process.pid


def main():
    if sys.argv[1] == "attack":
        return attack(int(sys.argv[2]))
    tool, client, *rest = sys.argv[1:]
    commands = int(rest[0]) if rest else 1_000_000
    enter_namespace(["ip", "unshare", "nsenter"])
    with subprocess.Popen(["unshare", "-n", "sleep", "1000"]) as other:
        try:
            check(tool, client, commands, other.pid)
        finally:
            other.kill()


def there(other, *command_line):
    return ["nsenter", "-t", str(other), "-n", *command_line]


def lay_cable(other):
    while os.stat(f"/proc/{other}/ns/net").st_ino == os.stat("/proc/self/ns/net").st_ino:
        time.sleep(0.01)
    for line in ("link set lo up", "link add served type veth peer name client", f"link set client netns {other}",
                 f"address add {CAMERA}/8 dev served", "link set served up"):
        run("ip", *line.split())
    for line in ("link set lo up", f"address add {CLIENT_HOST}/16 dev client", "link set client up"):
        run(*there(other, "ip", *line.split()))
    # Answers to the victims go over the cable without a question who they are.
    mac = json.loads(run(*there(other, "ip", "-j", "link", "show", "client")))[0]["address"]
    with subprocess.Popen(["ip", "-batch", "-"], stdin=subprocess.PIPE, text=True) as batch:
        for victim in range(FIRST_VICTIM, FIRST_VICTIM + VICTIMS):
            address = socket.inet_ntoa(struct.pack(">I", victim))
            batch.stdin.write(f"neigh add {address} lladdr {mac} dev served nud permanent\n")
        batch.stdin.close()


def check(tool, client, commands, other):
    lay_cable(other)
    failures = []

    def expect(holds, what):
        print(("ok      " if holds else "FAILED  ") + what)
        if not holds:
            failures.append(what)

    with Server(tool, "--address", CAMERA, "--interface", "served") as server:
        pid = server_pid(server.process)
        counter = Counter()
        counter.start()
        stream = there(other, client, CAMERA, "300", "udp")
        run(*stream)
        attacker = subprocess.Popen(there(other, sys.executable, __file__, "attack", str(commands)),
                                    stdout=subprocess.PIPE, text=True)
        began, before = time.monotonic(), None
        streams = []
        while len(streams) < 2 or attacker.poll() is None:
            streams.append(json.loads(run(*stream)))
            after = status(pid)
            before = before or after  # what a stream and all kinds of commands take once is no growth
        seconds = float(attacker.communicate()[0])
    images = {key: sum(stream[key] for stream in streams) for key in ("complete", "failed", "torn", "gaps", "resent")}
    print(f"{commands} spoofed commands in {seconds:.1f} s; {counter.packets} answers of {counter.bytes} bytes; "
          f"meanwhile {images}; before {before}, after {after}; {len(server.errors.splitlines())} lines of log")
    print(f"summary: {server.summary}")
    budget = ALL_BURST + ALL_RATE * (time.monotonic() - began + 2)
    expect(attacker.returncode == 0, "all were sent")
    expect(counter.packets > 1000, "the attack reached the camera")
    expect(counter.bytes <= budget, f"answers hold the budget of {budget:.0f} bytes")
    expect(images["failed"] + images["torn"] + images["gaps"] == 0, "the stream is undisturbed")
    expect(after["VmRSS"] < before["VmRSS"] + 8192, "memory is flat")
    expect(after["Threads"] <= before["Threads"] + 2, "threads are flat")
    expect(len(server.errors.splitlines()) < 20, "the log is flat")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
