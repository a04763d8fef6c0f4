"""The unit and the line that failed assertions name: assertions_test.py ROOT"""

import os
import re
import sys
import unittest

ROOT = sys.argv[1]
del sys.argv[1]

CALL = re.compile(r"\bAssertionFailed\(([^,()]*),\s*(\w+)\)")


def calls():
    """Of each call in the library: its source without the ending, its unit, its line."""
    for top in ["core", "util", "benc", "fs", "lang", "shellext"]:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in names:
                path = os.path.join(folder, name)
                with open(path, encoding="utf-8", errors="replace") as file:
                    for unit, line in CALL.findall(file.read()):
                        if not unit.startswith("const char"):  # the function itself
                            yield os.path.relpath(os.path.splitext(path)[0], ROOT), unit, line


class AssertionsTest(unittest.TestCase):
    def test_a_unit_is_one_of_the_tree(self):
        units = {unit for _, unit, _ in calls()}
        self.assertIn(r'"fs\\util\\Handle"', units)
        for unit in units:
            source = unit.strip('"').replace(r"\\", "/") + ".cpp"
            self.assertTrue(os.path.exists(os.path.join(ROOT, source)), f"{unit}: there is no {source}")

    def test_a_line_of_a_source_belongs_to_the_unit_that_is_named(self):
        lines = [(place, unit) for place, unit, line in calls() if line == "__LINE__"]
        self.assertTrue(lines)
        for place, unit in lines:
            self.assertEqual(unit.strip('"').replace(r"\\", "/"), place.replace(os.sep, "/"))


if __name__ == "__main__":
    unittest.main()
