"""Tests of scripts/coverage_table.py on made-up summaries: coverage_table_test.py SCRIPT"""

import json
import os
import subprocess
import sys
import tempfile
import unittest

SCRIPT = sys.argv[1]
del sys.argv[1]


def entry(name, lines, branches):
    return {"filename": name, "line_covered": lines, "line_total": 100, "branch_covered": branches, "branch_total": 100}


class CoverageTableTest(unittest.TestCase):
    def table(self, *files):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "summary.json")
            with open(path, "w", encoding="utf-8") as file:
                json.dump({"files": files}, file)
            return subprocess.run([sys.executable, "-B", SCRIPT, path], capture_output=True, text=True)

    def test_every_folder_has_a_row_and_all_of_them_the_last(self):
        result = self.table(entry("b/x.cpp", 100, 90), entry("a/y.cpp", 94, 80), entry("a/z.cpp", 96, 90))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        rows = [line.split() for line in result.stdout.splitlines()[1:]]
        self.assertEqual([" ".join(row) for row in rows], [
            "a/ 95.0 % of 200 85.0 % of 200", "b/ 100.0 % of 100 90.0 % of 100",
            "in all 96.7 % of 300 86.7 % of 300"])

    def test_the_aim_itself_is_met(self):
        self.assertEqual(self.table(entry("a/x.cpp", 95, 85)).returncode, 0)

    def test_less_than_the_aim_fails_below_the_table(self):
        for lines, branches, message in [
                (94, 85, "error: the tests reach fewer than 95 % of the lines\n"),
                (95, 84, "error: the tests reach fewer than 85 % of the branches\n"),
                (94, 84, "error: the tests reach fewer than 95 % of the lines and fewer than 85 % of the branches\n")]:
            with self.subTest(lines=lines, branches=branches):
                result = self.table(entry("a/x.cpp", lines, branches))
                self.assertEqual((result.returncode, result.stderr), (1, message))
                self.assertIn("in all", result.stdout)


if __name__ == "__main__":
    unittest.main()
