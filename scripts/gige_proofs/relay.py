# SPDX-License-Identifier: Apache-2.0
"""A camera whose description is made larger on the way, and a watch for heartbeats on lo."""

import ctypes
import select
import socket
import struct
import threading
import time

PORT = 3956
READREG, WRITEREG, READMEM = 0x80, 0x82, 0x84
FIRST_URL, SECOND_URL, CONTROL = 0x0200, 0x0400, 0x0A00
DESCRIPTION = 0x40000000  # where no camera of ours has anything


def command(number, payload, request=1):
    return struct.pack(">BBHHH", 0x42, 1, number, len(payload), request) + payload


class Memory:
    """A camera's memory, read by commands."""

    def __init__(self, address):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.connect((address, PORT))
        self.socket.settimeout(2)

    def read(self, address, length):
        data = b""
        while len(data) < length:
            count = min(512, (length - len(data) + 3) // 4 * 4)
            self.socket.send(command(READMEM, struct.pack(">IHH", address + len(data), 0, count)))
            data += self.socket.recv(1024)[12:]
        return data[:length]


def description_of(camera):
    """The second one, which is no archive."""
    memory = Memory(camera)
    url = memory.read(SECOND_URL, 512).split(b"\0")[0].decode()
    _, address, length = url.split(";")
    return memory.read(int(address, 16), int(length.split("?")[0], 16)).decode()


def enlarged(text, length):
    """With nodes that nobody needs."""
    nodes, missing = [], length - len(text)
    while missing > 0:
        nodes.append(f'<Integer Name="Padding{len(nodes)}"><ToolTip>Nothing.</ToolTip><Value>{len(nodes)}</Value></Integer>\n')
        missing -= len(nodes[-1])
    end = text.rindex("</")
    return text[:end] + '<Group Comment="Padding">' + "".join(nodes) + "</Group>" + text[end:]


class DescriptionRelay(threading.Thread):
    """Hands commands on to a camera, but for its description, and its answers back."""

    def __init__(self, address, camera, length):
        super().__init__()
        self.text = enlarged(description_of(camera), length).encode()
        self.url = f"Local:Large.xml;{DESCRIPTION:X};{len(self.text):X}".encode().ljust(512, b"\0")
        self.address, self.described = address, 0
        self.front = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.front.bind((address, PORT))
        self.camera = (camera, PORT)
        self.backs = {}  # a socket for each client, as the camera tells them apart
        self.is_ended = False

    def run(self):
        while not self.is_ended:
            ready = select.select([self.front, *self.backs.values()], [], [], 0.1)[0]
            for each in ready:
                try:
                    data, sender = each.recvfrom(2048)
                except OSError:
                    continue
                if each is self.front:
                    self.on_command(data, sender)
                else:
                    client = next(client for client, back in self.backs.items() if back is each)
                    self.front.sendto(self.with_own_address(data), client)

    def on_command(self, data, client):
        _, _, number, _, request = struct.unpack(">BBHHH", data[:8])
        if number == READMEM:
            address, _, count = struct.unpack(">IHH", data[8:16])
            own = (self.url[address - FIRST_URL:][:count] if FIRST_URL <= address < FIRST_URL + 512 else
                   self.text[address - DESCRIPTION:][:count].ljust(count, b"\0") if address >= DESCRIPTION else None)
            if own is not None:
                self.described += count if address >= DESCRIPTION else 0
                self.front.sendto(struct.pack(">HHHHI", 0, READMEM + 1, 4 + count, request, address) + own, client)
                return
        if client not in self.backs:
            self.backs[client] = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.backs[client].sendto(data, self.camera)

    def with_own_address(self, data):
        is_discovery = len(data) >= 256 and data[2:4] == b"\x00\x03"
        return data[:44] + socket.inet_aton(self.address) + data[48:] if is_discovery else data

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.is_ended = True
        self.join()


class BeatWatch(threading.Thread):
    """Notes, by the kernel's clock, when a client takes control of a camera, shows that it is there, and leaves."""

    def __init__(self, camera):
        super().__init__()
        self.times, self.is_ended = [], False
        self.socket = socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(0x0800))
        code = [(0x30, 0, 0, 9), (0x15, 0, 8, 17),                            # UDP
                (0x20, 0, 0, 16), (0x15, 0, 6, struct.unpack(">I", socket.inet_aton(camera))[0]),
                (0x28, 0, 0, 22), (0x15, 0, 4, PORT),
                (0x20, 0, 0, 36), (0x15, 0, 2, CONTROL),                      # the register
                (0x06, 0, 0, 0xFFFF), (0x06, 0, 0, 0), (0x06, 0, 0, 0)]
        program = ctypes.create_string_buffer(b"".join(struct.pack("HBBI", *each) for each in code))
        self.socket.setsockopt(socket.SOL_SOCKET, 26, struct.pack("HL", len(code), ctypes.addressof(program)))
        self.socket.setsockopt(socket.SOL_SOCKET, 35, 1)  # SO_TIMESTAMPNS
        self.socket.bind(("lo", 0x0800))
        self.socket.settimeout(0.1)

    def run(self):
        has_control = False
        while not self.is_ended:
            try:
                data, ancillary, _, address = self.socket.recvmsg(2048, 256)
            except TimeoutError:
                continue
            if address[2] == 4:  # on its way out: it comes in as well
                continue
            seconds, nanoseconds = struct.unpack("qq", ancillary[0][2])
            number = struct.unpack(">H", data[30:32])[0]
            is_taken = number == WRITEREG and data[40:44] != bytes(4)
            if is_taken or has_control:
                self.times.append(seconds + nanoseconds / 1e9)
            has_control = is_taken or (has_control and number != WRITEREG)

    def longest_gap(self):
        return max((b - a for a, b in zip(self.times, self.times[1:])), default=float("inf"))

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.is_ended = True
        self.join()
