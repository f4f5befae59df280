# SPDX-License-Identifier: Apache-2.0
"""Each rule of scripts/lint-layers.py on a small tree: usage lint_layers_test.py <lint-layers.py>"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

LINT = sys.argv.pop(1)

# A file, what it includes, and the complaint, or nothing where all is well.
CASES = [
    ("ZelmoBase/sync/A.cpp", "ZelmoBase/core/B.h", None),
    ("ZelmoBase/core/A.cpp", "ZelmoBase/sync/B.h", "core includes ZelmoBase/sync/B.h of sync, which is above it"),
    ("ZelmoBase/transport/A.cpp", "XMLWrapperLib/B.h", None),
    ("ZelmoBase/core/A.cpp", "zelmo/Timer.h", "core includes zelmo/Timer.h of sync, which is above it"),
    ("ZelmoBase/core/A.cpp", "zelmo/UsesTimer.h", "core includes zelmo/UsesTimer.h of sync, which is above it"),
    ("ZelmoBase/pixel/A.cpp", "zelmo/UsesTimer.h", None),
    ("ZelmoBase/Lifecycle.cpp", "ZelmoBase/sync/B.h", None),
    ("ZelmoBase/core/A.cpp", "tinyxml2.h", "only XMLWrapperLib/ includes tinyxml2.h"),
    ("XMLWrapperLib/A.cpp", "tinyxml2.h", None),
    ("tests/A.cpp", "spdlog/spdlog.h", "only genicam/log/ includes spdlog"),
    ("genicam/genapi/map/A.cpp", "pugixml.hpp", "only genicam/genapi/xml/ includes pugixml.hpp"),
    ("genicam/base/A.cpp", "Log/CLog.h", "Base includes Log/CLog.h of Log, which is above it"),
    ("genicam/genapi/map/A.cpp", "Log/CLog.h", None),
    ("genicam/genapi/map/A.cpp", "genicam/genapi/nodes/B.h", None),
    ("genicam/genapi/nodes/A.cpp", "genicam/genapi/map/B.h",
     "room nodes includes genicam/genapi/map/B.h of room map, which is not below it"),
    ("genicam/genapi/xml/A.cpp", "genicam/genapi/formula/B.h",
     "room xml includes genicam/genapi/formula/B.h of room formula, which is not below it"),
    ("genicam/genapi/cellar/A.cpp", "genicam/genapi/model/B.h",
     "room cellar has no rank"),
    ("genicam/log/A.cpp", "zelmo/Timer.h", "the GenICam modules include zelmo/Timer.h"),
    ("include/zelmo/A.h", "ZelmoBase/core/B.h", "a public header includes the private ZelmoBase/core/B.h"),
    ("include/zelmo/A.h", "boost/any.hpp", "a public header includes boost/any.hpp of another library"),
    ("plugins/x/A.cpp", "zelmo/internal/I.h", None),
    ("plugins/x/A.cpp", "ZelmoBase/core/B.h", "includes the private ZelmoBase/core/B.h"),
    ("plugins/emulator/core/A.cpp", "Base/GCString.h",
     "the simulated camera knows nothing of Zelmo, but includes Base/GCString.h"),
    ("gigevision/A.cpp", "gigevision/B.h", None),
    ("gigevision/A.cpp", "cstdint", None),
    ("gigevision/A.cpp", "core/Mutex.h", "the protocols need the standard library alone, but include core/Mutex.h"),
    ("gigevision/A.cpp", "sys/socket.h", "the protocols need the standard library alone, but include sys/socket.h"),
    ("serving/x/A.cpp", "gigevision/B.h", None),
    ("serving/x/A.cpp", "core/Mutex.h", None),
    ("serving/x/A.cpp", "plugins/emulator/core/B.h", None),
    ("serving/x/A.cpp", "sys/socket.h", None),
    ("serving/x/A.cpp", "zelmo/Timer.h", "the served camera knows nothing of Zelmo, but includes zelmo/Timer.h"),
    ("serving/x/A.cpp", "GenApi/GenApi.h", "the served camera knows nothing of Zelmo, but includes GenApi/GenApi.h"),
    ("serving/x/A.cpp", "plugins/emulator/B.h",
     "of the plug-ins the served camera knows only the simulated camera, but includes plugins/emulator/B.h"),
    ("tools/A.cpp", "serving/B.h", "the tool runs the served camera as a program, but includes serving/B.h"),
    ("tools/A.cpp", "zelmo/internal/I.h", "includes zelmo/internal/I.h, which is for plug-ins"),
    ("examples/A.cpp", "zelmo/Timer.h", None),
]

TREE = {
    "ZelmoBase/core/B.h": "",
    "ZelmoBase/sync/B.h": "",
    "ZelmoBase/sync/Timer_Unix.cpp": "#include <zelmo/Timer.h>\n",
    "include/zelmo/Timer.h": "",
    "include/zelmo/UsesTimer.h": "#include <zelmo/Timer.h>\n",
    "include/zelmo/internal/I.h": "",
}


def run_lint(files):
    with tempfile.TemporaryDirectory() as root:
        subprocess.run(["git", "init", "-q", root], check=True)
        for name, content in files.items():
            path = Path(root, name)
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(content)
        return subprocess.run([sys.executable, LINT, root], capture_output=True, text=True)


class LintLayers(unittest.TestCase):
    def test_each_rule_names_file_line_and_fault(self):
        numbered = [(file.replace("A.", f"A{i}."), included, complaint)
                    for i, (file, included, complaint) in enumerate(CASES)]
        result = run_lint(TREE | {file: f"// a line\n#include <{included}>\n" for file, included, _ in numbered})
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        lines = result.stdout.splitlines()
        for file, included, complaint in numbered:
            with self.subTest(file=file, included=included):
                found = [line for line in lines if line.startswith(file + ":")]
                if complaint is None:
                    self.assertEqual(found, [])
                else:
                    self.assertEqual(len(found), 1)
                    self.assertTrue(found[0].startswith(f"{file}:2: {complaint}"), found[0])

    def test_the_umbrella_includes_every_public_header(self):
        result = run_lint(TREE | {"include/zelmo/zelmo.h": "#include <zelmo/Timer.h>\n"})
        self.assertEqual((result.returncode, result.stdout),
                         (1, "include/zelmo/zelmo.h:1: does not include <zelmo/UsesTimer.h>\n"))

    def test_a_header_beside_is_named_from_the_root(self):
        result = run_lint(TREE | {"plugins/x/A.cpp": '#include "B.h"\n', "plugins/x/B.h": ""})
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        result = run_lint(TREE | {"ZelmoBase/core/A.cpp": '#include "../sync/B.h"\n'})
        self.assertIn("ZelmoBase/core/A.cpp:1: core includes ZelmoBase/sync/B.h", result.stdout)


if __name__ == "__main__":
    unittest.main()
