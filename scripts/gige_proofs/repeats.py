# SPDX-License-Identifier: Apache-2.0
"""Tests that run seeded cases: the same, but many more of them."""

import os
import subprocess
from pathlib import Path


def repeat(stage, program, cases, **variables):
    """Some cases of a test program, with so much of them as the variables say; each prints how many that are."""
    environment = os.environ | {name: str(value) for name, value in variables.items()}
    done = subprocess.run([Path(stage.tool).parent / program, f"--gtest_filter={cases}"], env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=7200)
    lines = [line for line in done.stdout.splitlines() if "  OK ]" in line or "FAILED" in line or "Failure" in line]
    print("\n".join(f"  {line}" for line in lines))
    stage.expect(done.returncode == 0 and any("  OK ]" in line for line in lines), f"{program} {cases}")


def histories(stage):
    """Packets lost, doubled and reordered by seed: the reassembler ends each history as a slow reference does."""
    count = stage.of(10**7)
    print(f"histories: {count}", flush=True)
    repeat(stage, "gige_reassembler_test", "ReassemblerPropertyTest.*", ZELMO_TEST_HISTORIES=count)


def buffers(stage):
    """The memory of buffers is taken away at the end of grabs, by flush, stop, close and removal, and nobody writes."""
    print(f"buffers: {stage.of(40_000)} of a stream grabber, {stage.of(10_000)} of a camera object, "
          f"{stage.of(400)} removals", flush=True)
    share = 100_000 / stage.part
    repeat(stage, "gige_stream_test", "GigeStreamTest.NothingIsWrittenIntoABufferThatIsBack", ZELMO_TEST_CYCLES=share)
    repeat(stage, "gige_plugin_test", "GigEBufferTest.*", ZELMO_TEST_CYCLES=share)
