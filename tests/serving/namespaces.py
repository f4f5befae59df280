# SPDX-License-Identifier: Apache-2.0
"""What tests of served cameras in network namespaces share."""

import json
import os
import shutil
import subprocess
import sys

INSIDE = "ZELMO_TEST_NAMESPACE"


def skip(why):
    """Nothing can be tested here; where CI is set, that is a failure."""
    print(f"missing: {why}" if "CI" in os.environ else f"skipped: {why}", file=sys.stderr)
    sys.exit(1 if "CI" in os.environ else 77)


def enter_namespace(programs):
    """Starts the calling script again in a network namespace of its own, unless it is in one."""
    if os.environ.get(INSIDE):
        return
    missing = [program for program in programs if not shutil.which(program)]
    if missing:
        skip(f"no {', '.join(missing)} here")
    unshare = ["unshare", "-n"] if os.geteuid() == 0 else ["unshare", "-rn"]
    if subprocess.run([*unshare, "true"], stderr=subprocess.DEVNULL).returncode != 0:
        skip("no network namespace can be made here")
    os.environ[INSIDE] = "1"
    os.execvp(unshare[0], [*unshare, sys.executable, *sys.argv])


def run(*command, timeout=120, may_fail=False):
    """What the command prints; it has to succeed."""
    result = subprocess.run(command, capture_output=True, text=True, timeout=timeout)
    if result.returncode != 0 and not may_fail:
        raise AssertionError(f"{' '.join(command)} ended with {result.returncode}:\n{result.stdout}\n{result.stderr}")
    return result.stdout


def sent_packets(interface):
    """Packets that have left by an interface."""
    return json.loads(run("ip", "-s", "-j", "link", "show", interface))[0]["stats64"]["tx"]["packets"]


class Neighbour:
    """Another network namespace, up to the object's exit: a machine at the other end of cables."""

    def __init__(self):
        self.cables = []
        self.process = subprocess.Popen(["unshare", "-n", "sh", "-c", "echo there; exec sleep infinity"],
                                        stdout=subprocess.PIPE)
        self.process.stdout.readline()
        self.inside = ["nsenter", "-t", str(self.process.pid), "-n"]
        run(*self.inside, "ip", "link", "set", "lo", "up")

    def __enter__(self):
        return self

    def connect(self, near, near_address, far, far_address):
        """Lays a cable from an interface here to one there."""
        run("ip", "link", "add", near, "type", "veth", "peer", "name", far, "netns", str(self.process.pid))
        self.cables.append(near)
        for inside, name, address in ([], near, near_address), (self.inside, far, far_address):
            run(*inside, "ip", "link", "set", name, "addrgenmode", "none")
            run(*inside, "ip", "address", "add", address, "brd", "+", "dev", name)
            run(*inside, "ip", "link", "set", name, "up")
        return self

    def __exit__(self, *_):
        for near in self.cables:  # the kernel would take its time
            run("ip", "link", "del", near)
        self.process.kill()
        self.process.communicate()


class Server:
    """zelmo serve, from its first words to its summary; in a neighbour's namespace, if one is named."""

    def __init__(self, tool, *arguments, where=None):
        inside = where.inside if where else []
        self.process = subprocess.Popen([*inside, tool, "serve", "--json", *arguments], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, stdin=subprocess.PIPE, text=True)
        self.cameras = []
        while not self.cameras or len(self.cameras) < self.cameras[0]["cameras"]:
            line = self.process.stdout.readline()
            if not line:
                raise AssertionError(f"the server ended: {self.process.communicate()[1]}")
            event = json.loads(line)
            if event["type"] == "serving":
                self.cameras.append(event)

    def tell(self, line):
        """@return its word on that: a full pipe would stop it"""
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        out, self.errors = self.process.communicate(timeout=30)
        self.events = [json.loads(line) for line in out.splitlines()]
        self.summary = next((event for event in self.events if event["type"] == "summary"), None)
