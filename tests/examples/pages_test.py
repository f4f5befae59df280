# SPDX-License-Identifier: Apache-2.0
"""Runs what the pages tell readers to type, and looks for the code that they show in the sources.

usage: pages_test.py <source folder> <build folder>
"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

SOURCE, BUILD = (Path(argument).resolve() for argument in sys.argv[1:3])

# Blocks of commands or code that are not looked at here, by page and beginning, and why.
ELSEWHERE = {
    ("README.md", "scripts/demo"): "examples.demo runs the first command, and this test is part of the second",
    ("README.md", "Cameras:"): "examples.demo compares it",
    ("README.md", "zelmo serve"): "tests/serving/strangers does so, in a network of its own",
    ("README.md", "arv-tool-0.8"): "likewise",
    ("docs/emulator.md", "// Whether the image is whole"): "compiled and run by tests/emulator/PatternTest.cpp",
    ("README.md", "zelmo list  "): "tests/tool/network_test.py and tests/gige/plugin do so with served cameras",
    ("docs/gige.md", "zelmo doctor"): "likewise",
    ("docs/gige.md", "zelmo serve --cameras 2"): "likewise",
    ("docs/gige.md", "export ZELMO_GIGE=lo"): "likewise",
    ("docs/gige.md", "zelmo ip  "): "likewise",
    ("docs/serving.md", "zelmo serve --cameras 2"): "tests/serving/strangers does so, in a network of its own",
    ("docs/serving.md", "sudo apt install"): "scripts/install-deps has installed them, and tests/serving/strangers uses them",
    ("docs/serving.md", "ip netns add"): "tests/serving/hostile serves in one namespace for another",
    ("docs/serving.md", "sudo zelmo serve"): "there is no network card that a test may use",
    ("docs/writing-a-plugin.md", "cmake --preset"): "the build that this test belongs to",
    ("docs/writing-a-plugin.md", "find_package"): "install.plugin builds a plug-in with it",
}
COMMAND = re.compile(r"^\s*(\$ |[A-Z_]+=\S+ |(sudo|export|cmake|ctest|apt|zelmo|scripts/\w+|\./\w+)\b(?!\.))", re.MULTILINE)


def blocks():
    for page in sorted(SOURCE.rglob("*.md")):
        name = str(page.relative_to(SOURCE))
        if not name.startswith(("build", "tests/data")):
            for info, text in re.findall(r"^```([^\n]*)\n(.*?)^```$", page.read_text(encoding="utf-8"), re.M | re.S):
                yield name, info, text


def run(page, commands):
    """All of a page in one shell, in a folder of its own where the builds of the presets are this one; only the README has to
    find the tool itself."""
    with tempfile.TemporaryDirectory() as folder:
        for preset in ("product", "release"):
            Path(folder, "build").mkdir(exist_ok=True)
            Path(folder, "build", preset).symlink_to(BUILD)
        environment = {name: value for name, value in os.environ.items() if not name.startswith("ZELMO_")}
        environment["ZELMO_GIGE"] = "off"  # nothing of a test leaves this machine
        if page != "README.md":
            environment["PATH"] = f"{BUILD}/bin:{environment['PATH']}"
        done = subprocess.run(["bash", "-euxo", "pipefail", "-c", commands], cwd=folder, env=environment)
        return [f"{page}: the last of the commands above ended with {done.returncode}"] if done.returncode else []


def find_fault(info, text):
    if " " in info:
        path = info.split(" ", 1)[1]
        return None if text in Path(SOURCE, path).read_text(encoding="utf-8") else f"is not in {path} word by word"
    return "is neither run here, nor listed with the reason" if info or COMMAND.search(text) else None


def untold_parameters():
    """Of cameras on Ethernet, which are promised to be told."""
    page = Path(SOURCE, "docs/gige.md").read_text(encoding="utf-8")
    names = {name for file in Path(SOURCE, "plugins/gige").rglob("GigE*.xml")
             for name in re.findall(r"<pFeature>(\w+)</pFeature>", file.read_text(encoding="utf-8"))}
    return [f"docs/gige.md: {name} is not there" for name in sorted(names) if f"`{name}`" not in page]


def main():
    unused, commands, faults = set(ELSEWHERE), {}, []
    for page, info, text in blocks():
        listed = {key for key in ELSEWHERE if key[0] == page and text.startswith(key[1])}
        unused -= listed
        if info == "sh" and not listed:
            commands[page] = commands.get(page, "") + text
        elif not listed and find_fault(info, text):
            faults.append(f"{page}: the block that begins with '{text.splitlines()[0]}' {find_fault(info, text)}")
    for page, text in commands.items():
        faults += run(page, text)
    faults += untold_parameters()
    faults += [f"{page}: no block begins with '{beginning}'" for page, beginning in unused]
    sys.exit("\n".join(faults) or 0)


main()
