#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that includes point downwards only.

lint-layers.py [root]
Prints "file:line: what is wrong" for each violation; exits with 1 when there is one.
"""

import re
import subprocess
import sys
from pathlib import Path

# From the bottom up. A folder includes from itself and from those below it; a public header belongs to the folder of
# its source file or, without one, to the highest folder whose headers it includes.
ZELMO_LAYERS = ["core", "sync", "pixel", "transport", "binding", "parameter", "camera"]
GENICAM_LAYERS = ["Base", "Log", "GenApi"]

# The rooms of genicam/genapi/, each above the next; those of one rank do not include each other.
GENAPI_ROOMS = {"model": 0, "xml": 1, "formula": 1, "nodes": 2, "map": 3, "adapters": 4, "persistence": 4}

# Libraries that one place wraps: nobody else sees them.
WRAPPED = {
    "tinyxml2.h": "XMLWrapperLib/",
    "pugixml.hpp": "genicam/genapi/xml/",
    "spdlog/": "genicam/log/",
}

THIRD_PARTY = re.compile(r"(boost|spdlog|fmt|CLI|nlohmann|gtest|gmock|benchmark)/|(tinyxml2|pugixml|zip|zlib|png)\.h")
STANDARD = re.compile(r"[a-z_]+") # headers of the C++ library
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')


class Tree:
    def __init__(self, root):
        self.root = Path(root)
        listed = subprocess.run(
            ["git", "-C", root, "ls-files", "-co", "--exclude-standard", "--", "*.cpp", "*.h"],
            capture_output=True, text=True, check=True).stdout.split("\n")
        self.files = sorted(f for f in listed if f and (self.root / f).is_file())
        self.includes = {f: self._read_includes(f) for f in self.files}
        self.zelmo_ranks = self._rank_public_headers()

    def _read_includes(self, file):
        lines = (self.root / file).read_text(encoding="utf-8", errors="replace").split("\n")
        found = []
        for number, line in enumerate(lines, 1):
            match = INCLUDE.match(line)
            if match:
                found.append((number, self._resolve(file, match.group(1))))
        return found

    # Names a file beside the including one by its path from the root.
    def _resolve(self, file, name):
        beside = (self.root / file).parent / name
        if beside.is_file():
            return str(beside.resolve().relative_to(self.root.resolve()))
        return name

    def _rank_public_headers(self):
        sources = {}
        for file in self.files:
            parts = file.split("/")
            if parts[0] == "ZelmoBase" and file.endswith(".cpp") and parts[1] in ZELMO_LAYERS:
                sources[Path(file).stem.removesuffix("_Unix")] = ZELMO_LAYERS.index(parts[1])
        headers = [f for f in self.files if f.startswith("include/zelmo/")]
        ranks = {f: sources.get(Path(f).stem.removesuffix("Private"), 0) for f in headers}
        owned = {f for f in headers if Path(f).stem.removesuffix("Private") in sources}
        changed = True
        while changed:
            changed = False
            for header in set(headers) - owned:
                below = [ranks.get("include/" + name.removeprefix("include/"), 0)
                         for _, name in self.includes[header]]
                rank = max(below, default=0)
                if rank > ranks[header]:
                    ranks[header] = rank
                    changed = True
        return ranks

    # The rank of a folder or public header of Zelmo; None for what is none.
    def zelmo_rank(self, name):
        if name.startswith("ZelmoBase/"):
            folder = name.split("/")[1]
            return ZELMO_LAYERS.index(folder) if folder in ZELMO_LAYERS else None
        if name.startswith("XMLWrapperLib/"):
            return 0
        return self.zelmo_ranks.get("include/" + name.removeprefix("include/"))


def genicam_rank(name):
    parts = name.removeprefix("genicam/").removeprefix("include/").split("/")
    names = [layer.lower() for layer in GENICAM_LAYERS]
    return names.index(parts[0].lower()) if parts[0].lower() in names else None


def genapi_room(name):
    parts = name.split("/")
    return parts[2] if name.startswith("genicam/genapi/") and len(parts) == 4 else None


def is_zelmo(name):
    return name.startswith(("zelmo/", "include/zelmo/", "ZelmoBase/", "XMLWrapperLib/"))


def is_private(name):
    return name.startswith(("ZelmoBase/", "XMLWrapperLib/", "genicam/base/", "genicam/log/", "genicam/genapi/"))


def is_internal(name):
    return name.removeprefix("include/").startswith("zelmo/internal/")


def check_wrapped(_, file, name):
    for header, home in WRAPPED.items():
        if name.startswith(header) and not file.startswith(home):
            return f"only {home} includes {header.rstrip('/')}"
    return None


def check_public_header(_, file, name):
    if not file.startswith(("include/", "genicam/include/")):
        return None
    if is_private(name):
        return f"a public header includes the private {name}"
    if THIRD_PARTY.match(name):
        return f"a public header includes {name} of another library"
    return None


def check_genicam(_, file, name):
    if not file.startswith("genicam/"):
        return None
    if is_zelmo(name):
        return f"the GenICam modules include {name}"
    own, other = genicam_rank(file), genicam_rank(name)
    if own is not None and other is not None and other > own:
        return f"{GENICAM_LAYERS[own]} includes {name} of {GENICAM_LAYERS[other]}, which is above it"
    return None


def check_genapi_rooms(_, file, name):
    own, other = genapi_room(file), genapi_room(name)
    if own is None or other is None or own == other:
        return None
    for room in own, other:
        if room not in GENAPI_ROOMS:
            return f"room {room} has no rank in scripts/lint-layers.py"
    if GENAPI_ROOMS[other] >= GENAPI_ROOMS[own]:
        return f"room {own} includes {name} of room {other}, which is not below it"
    return None


def check_zelmo_layers(tree, file, name):
    if not file.startswith(("ZelmoBase/", "XMLWrapperLib/", "include/zelmo/")) or file == "include/zelmo/zelmo.h":
        return None
    own, other = tree.zelmo_rank(file), tree.zelmo_rank(name)
    if own is not None and other is not None and other > own:
        return f"{ZELMO_LAYERS[own]} includes {name} of {ZELMO_LAYERS[other]}, which is above it"
    return None


def check_outsiders(_, file, name):
    if file.startswith("plugins/emulator/core/") and (is_zelmo(name) or genicam_rank(name) is not None):
        return f"the simulated camera knows nothing of Zelmo, but includes {name}"
    if file.startswith(("plugins/", "tools/", "examples/")) and is_private(name):
        return f"includes the private {name}"
    if file.startswith(("tools/", "examples/")) and is_internal(name):
        return f"includes {name}, which is for plug-ins"
    return None


# The protocols know bytes alone, the served camera these and the simulated one; the tool runs it as a program.
def check_serving(_, file, name):
    if file.startswith("gigevision/") and not name.startswith("gigevision/") and not STANDARD.fullmatch(name):
        return f"the protocols need the standard library alone, but include {name}"
    if file.startswith("serving/"):
        if is_zelmo(name) or genicam_rank(name) is not None or name.startswith(("tools/", "examples/", "tests/")):
            return f"the served camera knows nothing of Zelmo, but includes {name}"
        if name.startswith("plugins/") and not name.startswith("plugins/emulator/core/"):
            return f"of the plug-ins the served camera knows only the simulated camera, but includes {name}"
    if file.startswith("tools/") and name.startswith("serving/"):
        return f"the tool runs the served camera as a program, but includes {name}"
    return None


CHECKS = [check_wrapped, check_public_header, check_genicam, check_genapi_rooms, check_zelmo_layers, check_outsiders,
          check_serving]


def missing_in_umbrella(tree):
    umbrella = "include/zelmo/zelmo.h"
    if umbrella not in tree.includes:
        return []
    included = {name.removeprefix("include/") for _, name in tree.includes[umbrella]}
    public = [f.removeprefix("include/") for f in tree.files
              if f.startswith("include/zelmo/") and not is_internal(f) and f != umbrella]
    return [f"{umbrella}:1: does not include <{header}>" for header in public if header not in included]


def main():
    tree = Tree(sys.argv[1] if len(sys.argv) > 1 else str(Path(__file__).resolve().parent.parent))
    problems = missing_in_umbrella(tree)
    for file, includes in tree.includes.items():
        for line, name in includes:
            complaints = (check(tree, file, name) for check in CHECKS)
            problems += [f"{file}:{line}: {complaint}" for complaint in complaints if complaint]
    print("\n".join(problems), end="\n" if problems else "")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
