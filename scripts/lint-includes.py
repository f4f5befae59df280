#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that the includes of each file stand in four blocks: its own header; the project's; other libraries'; the system's.

lint-includes.py [--fix] [FILE…]
Without files, all that git tracks. Within a block clang-format sorts. Prints "file:line: what is wrong" and exits with 1
when there is something; --fix rewrites the blocks instead. A file whose includes stand between conditions is passed over.
"""

import re
import subprocess
import sys
from pathlib import Path

INCLUDE = re.compile(r'^#include ([<"])([^>"]+(?<!\.def))[>"]') # a table stands where its macro does
PROJECT = ("zelmo/", "common/", "GenApi/", "Base/", "Log/", "ZelmoBase/", "XMLWrapperLib/", "genicam/", "plugins/", "tests/", "tools/",
           "gigevision/", "serving/", "core/", "binding/", "camera/", "emulator/", "fakes/", "DocumentedCheck.h")
OTHERS = re.compile(r"(boost|spdlog|fmt|CLI|nlohmann|gtest|gmock|benchmark|fuzzer)/|(tinyxml2\.h|pugixml\.hpp|png\.h|zip\.h|zlib\.h)$")
OWN, PROJECTS, LIBRARIES, SYSTEM = range(4)


def block_of(file, quote, name):
    stem = Path(file).stem.removesuffix("_Unix")
    if file.endswith(".cpp") and Path(name).stem.removesuffix("_Unix") in (stem, stem + "Impl") and "." in Path(name).name:
        return OWN
    if OTHERS.match(name):
        return LIBRARIES
    if quote == '"' or name.startswith(PROJECT):
        return PROJECTS
    return SYSTEM


def includes_of(lines):
    """First and one past the last line of the includes, or None where other lines stand between them."""
    found = [i for i, line in enumerate(lines) if INCLUDE.match(line)]
    if not found:
        return None
    first, last = found[0], found[-1] + 1
    plain = all(not line.strip() or INCLUDE.match(line) for line in lines[first:last])
    return (first, last) if plain else None


def arrange(file, lines):
    blocks = [[] for _ in range(4)]
    for line in lines:
        match = INCLUDE.match(line)
        if match:
            # a file has one own header: what else has its name is the project's
            block = block_of(file, *match.groups())
            blocks[PROJECTS if block == OWN and blocks[OWN] else block].append(line)
    return "\n\n".join("\n".join(block) for block in blocks if block).split("\n")


def in_order(file, lines):
    """Whether the blocks of each kind come one after the other and no block mixes two; a kind may have several blocks."""
    former, same_block = OWN, False
    for line in lines:
        match = INCLUDE.match(line)
        if not match:
            same_block = False
            continue
        block = block_of(file, *match.groups())
        block = PROJECTS if block == OWN and former != OWN else block
        if block < former or (same_block and block != former):
            return False
        former, same_block = block, True
    return True


def main():
    arguments = sys.argv[1:]
    fix = "--fix" in arguments
    files = [a for a in arguments if a != "--fix"]
    if not files:
        files = [f for f in subprocess.run(["git", "ls-files", "--", "*.cpp", "*.h"], capture_output=True, text=True,
                                           check=True).stdout.split("\n") if f]
    if not files:
        print("there is no source file to look at")
        return 1
    problems = 0
    for file in files:
        text = Path(file).read_text(encoding="utf-8")
        lines = text.split("\n")
        span = includes_of(lines)
        if span is None:
            continue
        first, last = span
        if in_order(file, lines[first:last]):
            continue
        if fix:
            Path(file).write_text("\n".join(lines[:first] + arrange(file, lines[first:last]) + lines[last:]), encoding="utf-8")
        else:
            problems += 1
            print(f"{file}:{first + 1}: includes are not: own header; the project's; other libraries'; the system's")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
