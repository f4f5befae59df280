#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs clang-tidy over every unit of a build folder; what was clean before in the same content is not read again.

lint-tidy.py BUILD_FOLDER [--all-checks] [UNIT…]
The static analyzer, four fifths of the time, is left out unless --all-checks. Results are kept in $XDG_CACHE_HOME/zelmo-lint
under a hash of all that they depend on: clang-tidy's version and settings, the unit's command line, the content of the
unit and of each header of the project that it includes. Prints what clang-tidy complains of, last how many units were
read and how many were known; exits with 1 after a complaint, or when there is nothing to look at.
"""

import hashlib
import json
import os
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

CLANG_TIDY = "clang-tidy"
ANALYZER_OFF = "--checks=-clang-analyzer-*"
EXTRA = ["--quiet", "--extra-arg=-Wno-unknown-warning-option"]
CACHE_DAYS = 30


class Build:
    """The units of a build folder, each with its command line and the project's headers that it includes."""

    def __init__(self, folder):
        self.root = Path(__file__).resolve().parent.parent
        self.folder = Path(folder).resolve()
        commands = json.loads((self.folder / "compile_commands.json").read_text(encoding="utf-8"))
        self.commands = {self._relative(entry["file"]): entry for entry in commands}
        self.headers = self._read_headers()
        self.hashes = {}

    def units(self):
        """Units of the project; generated ones are clean if their generator is."""
        return sorted(u for u in self.commands if u and not u.startswith("build/"))

    def _relative(self, path):
        absolute = os.path.normpath(os.path.join(self.folder, path))
        return os.path.relpath(absolute, self.root) if absolute.startswith(f"{self.root}/") else None

    def _read_headers(self):
        """What ninja knows from the compiler, by object."""
        listed = subprocess.run(["ninja", "-C", self.folder, "-t", "deps"], capture_output=True, text=True, check=True)
        found, current = {}, None
        for line in listed.stdout.split("\n"):
            if line and not line.startswith(" "):
                current = found.setdefault(line.split(": ")[0], [])
            elif line.strip():
                name = self._relative(line.strip())
                if name:
                    current.append(name)
        return found

    def hash_of(self, file):
        if file not in self.hashes:
            self.hashes[file] = hashlib.sha256((self.root / file).read_bytes()).hexdigest()
        return self.hashes[file]

    def key(self, unit, settings):
        """None when it is not known what the unit includes, as it was never built."""
        entry = self.commands[unit]
        headers = self.headers.get(entry["command"].split(" -o ")[1].split(" ")[0])
        if headers is None:
            return None
        text = [settings, entry["command"].replace(str(self.root), "")]
        text += [f"{name} {self.hash_of(name)}" for name in sorted({unit, *headers})]
        return hashlib.sha256("\n".join(text).encode()).hexdigest()


def cache_folder():
    base = os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache"
    folder = Path(base) / "zelmo-lint"
    folder.mkdir(parents=True, exist_ok=True)
    for entry in folder.iterdir():  # another run may do the same
        try:
            if entry.stat().st_mtime < time.time() - CACHE_DAYS * 86400:
                entry.unlink(missing_ok=True)
        except FileNotFoundError:
            pass
    return folder


def main():
    arguments = sys.argv[1:]
    checks = [] if "--all-checks" in arguments else [ANALYZER_OFF]
    names = [a for a in arguments if a != "--all-checks"]
    build = Build(names[0])
    units = names[1:] or build.units()
    if not units:
        print("there is no unit to look at")
        return 1
    version = subprocess.run([CLANG_TIDY, "--version"], capture_output=True, text=True, check=True).stdout
    settings = "\n".join([version, (build.root / ".clang-tidy").read_text(encoding="utf-8"), *checks, *EXTRA])
    cache = cache_folder()

    def check(unit):
        key = build.key(unit, settings)
        if key and (cache / key).exists():
            (cache / key).touch()
            return "known", ""
        run = subprocess.run([CLANG_TIDY, "-p", build.folder, *checks, *EXTRA, unit], cwd=build.root,
                             capture_output=True, text=True)
        if run.returncode != 0:
            return "wrong", run.stdout + ("" if run.stdout else run.stderr)
        if key:
            (cache / key).touch()
        return "read", ""

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(check, units))
    print("".join(text for _, text in results), end="")
    counts = {state: sum(1 for s, _ in results if s == state) for state in ("read", "known", "wrong")}
    print(f"{len(units)} units: {counts['read']} read, {counts['known']} known to be clean, {counts['wrong']} with complaints")
    return 1 if counts["wrong"] else 0


if __name__ == "__main__":
    sys.exit(main())
