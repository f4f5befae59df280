#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""No test sends anything off this machine.

outside_test.py TOOL BUILD-FOLDER CASES TEST…
Runs test programs, and by CTest the cases that a regular expression names, in a network namespace where all ways out
lead to an interface whose packets are counted. Exits with 77 and a line where no namespace can be had; with 1 if CI is
set.
"""

import os
import socket
import subprocess
import sys

from namespaces import enter_namespace, run, sent_packets

SET_UP = """
link set lo up
link add outside type veth peer name beyond
link set beyond addrgenmode none up
link set outside addrgenmode none up
address add 10.255.0.1/24 dev outside
neigh add 10.255.0.2 lladdr 02:00:00:00:00:02 dev outside
route add default via 10.255.0.2
"""


def main():
    enter_namespace(["ip", "unshare"])
    for line in SET_UP.strip().splitlines():
        run("ip", *line.split())
    # What is sent to others is counted: else nothing would be proved.
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.sendto(b"probe", ("192.0.2.1", 3956))
    if sent_packets("outside") != 1:
        sys.exit(f"{sent_packets('outside')} packets were counted where one was sent")
    tool, folder, cases, *tests = sys.argv[1:]
    everywhere = {name: value for name, value in os.environ.items() if name != "ZELMO_GIGE"}
    if sent_by([tool, "list"], env=everywhere) == 0:
        sys.exit("the tool looked for cameras, and no packet was counted")
    commands = [[test, "--gtest_brief=1"] for test in tests]
    commands.append(["ctest", "--test-dir", folder, "--no-tests=error", "-R", cases])
    for command in commands:
        sent = sent_by(command, env=everywhere)
        print(f"{command[0]}: {sent} packets left the machine")
        if sent != 0:
            sys.exit(1)


def sent_by(command, env):
    before = sent_packets("outside")
    if subprocess.run(command, env=env).returncode != 0:
        sys.exit(f"{' '.join(command)} failed")
    return sent_packets("outside") - before


if __name__ == "__main__":
    main()
