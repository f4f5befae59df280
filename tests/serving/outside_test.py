#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""No test of served cameras sends anything off this machine.

outside_test.py TEST…
Runs test programs in a network namespace where all ways out lead to an interface whose packets are counted. Exits with
77 and a line where no namespace can be had; with 1 if CI is set.
"""

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
    before = sent_packets("outside")
    if before != 1:
        sys.exit(f"{before} packets were counted where one was sent")
    for test in sys.argv[1:]:
        result = subprocess.run([test, "--gtest_brief=1"])
        if result.returncode != 0:
            sys.exit(f"{test} failed")
        sent = sent_packets("outside") - before
        print(f"{test}: {sent} packets left the machine")
        if sent != 0:
            sys.exit(1)
    if len(sys.argv) < 2:
        sys.exit("no test was given")


if __name__ == "__main__":
    main()
