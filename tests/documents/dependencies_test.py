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

    def check(self, links=None):
        """The findings; `links` are the lines of a build's link graph."""
        words = [sys.executable, "-B", SCRIPT, "check", self.root]
        if links is not None:
            self.write("link_graph.txt", "".join(line + "\n" for line in links))
            words.append(os.path.join(self.root, "link_graph.txt"))
        result = subprocess.run(words, capture_output=True, text=True)
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

    def test_a_circle_of_headers_is_found(self):
        self.source("benc/A.h", "benc/B.h")
        self.source("benc/B.h", "benc/C.h")
        self.source("benc/C.h", "benc/A.h")
        self.assertEqual(self.check(), ["units in a circle: benc/A, benc/B, benc/C"])

    def test_a_circle_through_sources_is_found(self):
        self.source("benc/A.h")
        self.source("benc/A.cpp", "benc/A.h", "benc/B.h")
        self.source("benc/B.h", "benc/C.h")
        self.source("benc/C.h")
        self.source("benc/C.cpp", "benc/C.h", "benc/A.h")
        self.assertEqual(self.check(), ["units in a circle: benc/A, benc/B, benc/C"])

    def test_two_circles_are_two_findings(self):
        self.source("benc/A.h", "benc/B.h")
        self.source("benc/B.h", "benc/A.h")
        self.source("lang/C.h", "lang/D.h", "benc/A.h")
        self.source("lang/D.h", "lang/C.h")
        self.assertEqual(self.check(), ["units in a circle: benc/A, benc/B", "units in a circle: lang/C, lang/D"])

    def file_and_stream(self, *stream_includes):
        self.source("fs/util/FileHandle.h")
        self.source("fs/util/FileHandle.cpp", "fs/util/FileHandle.h", "fs/util/StreamHandle.h")
        self.source("fs/util/StreamHandle.h")
        self.source("fs/util/StreamHandle.cpp", "fs/util/StreamHandle.h", *stream_includes)
        self.committed()

    def test_a_named_circle_may_stay(self):
        self.file_and_stream("fs/util/FileHandle.h")
        self.assertEqual(self.check(), [])

    def test_a_unit_that_joins_a_named_circle_is_found(self):
        self.file_and_stream("fs/util/FileHandle.h", "fs/util/More.h")
        self.source("fs/util/More.h", "fs/util/FileHandle.h")
        circle = "fs/util/FileHandle, fs/util/More, fs/util/StreamHandle"
        self.assertIn("units in a circle: " + circle, self.check())

    def test_a_named_circle_that_is_gone_is_found(self):
        self.file_and_stream()
        self.assertEqual(self.check(), ["scripts/dependencies.py: names a circle that is gone: "
                                        "fs/util/FileHandle, fs/util/StreamHandle"])

    def test_a_missing_file_is_found(self):
        self.source("core/A.h", "core/Gone.h")
        self.assertEqual(self.check(), ["core/A.h: includes core/Gone.h, which is not there"])

    def good_links(self):
        self.good_tree()
        self.committed(("lang", "core"), ("shellext", "core"), ("shellext", "lang"),
                       pictured=[("lang", "core"), ("shellext", "lang")])
        return ["target flags none .", "target core code core", "target lang code lang", "target shellext code shellext",
                "link core flags", "link lang core", "link shellext lang"]

    def test_links_that_point_downwards_are_good(self):
        self.assertEqual(self.check(self.good_links()), [])

    def test_a_link_that_points_upwards_is_found(self):
        self.assertEqual(self.check([*self.good_links(), "link core lang"]), ["core: may not link lang"])

    def test_a_link_that_points_upwards_through_flags_is_found(self):
        self.assertEqual(self.check([*self.good_links(), "link flags lang"]), ["flags: may not link lang"])

    def test_the_library_may_not_link_the_tools_or_the_tests(self):
        links = ["target marks code tools/marks", "target test_host code tests/support",
                 "link shellext marks", "link shellext test_host"]
        self.assertEqual(self.check([*self.good_links(), *links]),
                         ["shellext: may not link marks", "shellext: may not link test_host"])

    def test_tests_may_link_the_library_and_compile_its_sources(self):
        links = ["target probe code tests/shellext shellext", "link probe shellext", "link probe lang"]
        self.assertEqual(self.check([*self.good_links(), *links]), [])

    def test_resources_may_be_linked_from_everywhere(self):
        links = ["target menu_icons none shellext/icons", "link core menu_icons"]
        self.assertEqual(self.check([*self.good_links(), *links]), [])

    def test_third_party_code_may_be_linked_from_everywhere(self):
        links = ["target minizip code build/deps/minizip", "link core minizip"]
        self.assertEqual(self.check([*self.good_links(), *links]), [])

    def test_a_link_that_nothing_is_included_for_is_found(self):
        self.source("benc/Value.h")
        links = [*self.good_links(), "target benc code benc", "link shellext benc"]
        self.assertEqual(self.check(links), ["shellext: links benc and includes nothing of it"])

    def test_an_include_that_is_not_linked_is_found(self):
        links = self.good_links()
        links.remove("link lang core")
        self.assertEqual(self.check(links), ["lang: includes files of core and links nothing of it",
                                             "shellext: includes files of core and links nothing of it"])

    def test_folders_of_one_target_share_its_links(self):
        self.good_tree()
        self.source("shellext/icons/Icon.h")
        self.source("shellext/Exports.cpp", "shellext/icons/Icon.h", "core/Owner.h")
        self.committed(("lang", "core"), ("shellext", "core"), ("shellext", "lang"),
                       ("shellext", "shellext/icons"),
                       pictured=[("lang", "core"), ("shellext", "lang"), ("shellext", "shellext/icons")])
        self.assertEqual(self.check(["target core code core", "target lang code lang", "link lang core",
                                     "target shellext code shellext shellext/icons", "link shellext lang"]), [])

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
