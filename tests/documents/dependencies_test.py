"""Tests of scripts/dependencies.py on small trees: dependencies_test.py SCRIPT"""

import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv[1]
del sys.argv[1]

SVG = "<svg>{}</svg>"
EDGE = "<title>{}&#45;&gt;{}</title>"


class DependenciesTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = folder.name

    def write(self, path, text):
        path = os.path.join(self.root, path)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def source(self, path, *includes):
        self.write(path, "#include <vector>\n" + "".join(f'#include "{name}"\n' for name in includes))

    def committed(self, *edges, pictured=None):
        title = "# Which folder uses which; made by scripts/dependencies.py draw\n"
        self.write("docs/pictures/dependencies.txt", title + "".join(f"{a} -> {b}\n" for a, b in edges))
        shown = edges if pictured is None else pictured
        self.write("docs/pictures/dependencies.svg", SVG.format("".join(EDGE.format(a, b) for a, b in shown)))

    def check(self):
        result = subprocess.run([sys.executable, "-B", SCRIPT, "check", self.root], capture_output=True, text=True)
        self.assertEqual(result.stderr, "")
        self.assertEqual(result.returncode, 1 if result.stdout else 0)
        return result.stdout.splitlines()

    def good_tree(self):
        self.source("core/Owner.h")
        self.source("lang/Table.h", "core/Owner.h")
        self.source("shellext/Module.cpp", "lang/Table.h", "core/Owner.h")

    def test_what_points_downwards_is_good(self):
        self.good_tree()
        self.committed(("lang", "core"), ("shellext", "core"), ("shellext", "lang"),
                       pictured=[("lang", "core"), ("shellext", "lang")])
        self.assertEqual(self.check(), [])

    def test_what_points_upwards_is_found(self):
        self.good_tree()
        self.source("core/Bad.cpp", "lang/Table.h")
        self.assertEqual(self.check(), ["core/Bad.cpp: core may not use lang/Table.h"])

    def test_the_agent_s_stand_in_shares_no_code_with_the_extension(self):
        self.good_tree()
        self.source("tools/standin_agent/Pipe.cpp", "lang/Table.h")
        self.assertEqual(self.check(), ["tools/standin_agent/Pipe.cpp: tools/standin_agent may not use lang/Table.h"])

    def test_the_library_may_not_use_the_tools_or_the_tests(self):
        self.source("tools/common/Json.h")
        self.source("tests/support/Fake.h")
        self.source("shellext/Module.cpp", "tools/common/Json.h", "tests/support/Fake.h")
        self.assertEqual(self.check(), ["shellext/Module.cpp: shellext may not use tools/common/Json.h",
                                        "shellext/Module.cpp: shellext may not use tests/support/Fake.h"])

    def test_a_cycle_of_files_is_found(self):
        self.source("benc/A.h", "benc/B.h")
        self.source("benc/B.h", "benc/C.h")
        self.source("benc/C.h", "benc/A.h")
        self.assertEqual(self.check(), ["include cycle: benc/A.h -> benc/B.h -> benc/C.h -> benc/A.h"])

    def test_a_missing_file_is_found(self):
        self.source("core/A.h", "core/Gone.h")
        self.assertEqual(self.check(), ["core/A.h: includes core/Gone.h, which is not there"])

    def test_a_stale_list_and_a_stale_picture_are_found(self):
        self.good_tree()
        self.committed(("lang", "core"))
        self.assertEqual([line.split(":")[0] for line in self.check()],
                         ["docs/pictures/dependencies.txt", "docs/pictures/dependencies.svg"])

    def test_draw_makes_what_check_wants(self):
        self.good_tree()
        os.makedirs(os.path.join(self.root, "docs/pictures"))
        subprocess.run([sys.executable, "-B", SCRIPT, "draw", self.root], check=True)
        self.assertEqual(self.check(), [])


if __name__ == "__main__":
    unittest.main()
