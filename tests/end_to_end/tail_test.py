"""shellprobe tail beside programs that write, rotate and delete the log:
tail_test.py ROOT PROGRAMS_FOLDER VERSION"""

import os
import shutil
import sys
import unittest

from programs import Programs, end

ROOT, FOLDER, _ = sys.argv[1:4]
del sys.argv[1:4]

PROGRAMS = Programs(ROOT, FOLDER)
LIBRARY = PROGRAMS.library("VeskardShellExt.dll")
LOG = "C:\\Followed\\some.log"


class TailTest(unittest.TestCase):
    def setUp(self):
        self.file = os.path.join(PROGRAMS.drive_c(), "Followed", "some.log")
        self.addCleanup(shutil.rmtree, os.path.dirname(self.file), ignore_errors=True)
        os.makedirs(os.path.dirname(self.file))

    def append(self, *lines):
        with open(self.file, "ab") as file:
            file.write("".join(line + "\r\n" for line in lines).encode("utf-16-le"))

    def tail(self, *words):
        process = PROGRAMS.start("shellprobe.exe", "tail", "--time-limit", "60", *words)
        self.addCleanup(process.stdout.close)
        self.addCleanup(lambda: end(process) if process.poll() is None else None)
        return process

    def expect(self, process, *lines):
        self.assertEqual([process.stdout.readline() for _ in lines], [line + "\n" for line in lines])

    def test_a_log_that_grows_is_rotated_and_deleted(self):
        self.append("one", "two", "three")
        process = self.tail("--file", LOG, "--lines", "2", "--count", "6")
        self.expect(process, "two", "three")
        self.append("four")
        self.expect(process, "four")
        os.rename(self.file, self.file + ".old")
        self.append("five")
        self.expect(process, "five")
        os.remove(self.file)
        self.append("six", "seven", "eight")
        self.expect(process, "six", "seven")
        self.assertEqual(process.wait(60), 0)

    def test_one_process_of_several(self):
        process = self.tail("--file", LOG, "--process", "Explorer.EXE", "--count", "2")
        self.append("t (explorer.exe:1) a", "t (notepad.exe:2) b", "t (explorer.exe:3) c")
        self.expect(process, "t (explorer.exe:1) a", "t (explorer.exe:3) c")
        self.assertEqual(process.wait(60), 0)

    def test_a_right_click(self):
        agent_folder = PROGRAMS.agent_folder()
        self.addCleanup(shutil.rmtree, agent_folder, ignore_errors=True)
        shutil.rmtree(agent_folder, ignore_errors=True)
        os.mkdir(agent_folder)
        process = self.tail("--count", "2")  # the log is not there yet
        PROGRAMS.run("shellprobe.exe", "menu", "--dll", LIBRARY, "C:\\windows\\win.ini")
        for text in ["=== start ===", "Called context menu"]:
            self.assertRegex(process.stdout.readline(), r"^[-\d]+ [\d:.]+ \(shellprobe\.exe:\d+\) " + text + "\n$")
        self.assertEqual(process.wait(60), 0)

    def test_the_time_limit(self):
        self.append("one")
        result = PROGRAMS.run("shellprobe.exe", "tail", "--file", LOG, "--time-limit", "1")
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (3, "one\n", "shellprobe: the time limit passed\n"))

    def test_without_following(self):
        result = PROGRAMS.run("shellprobe.exe", "tail", "--no-follow", "--file", LOG)
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (1, "", f"shellprobe: there is no log: {LOG}\n"))
        self.append(*map(str, range(12)))
        result = PROGRAMS.run("shellprobe.exe", "tail", "--no-follow", "--file", LOG)
        self.assertEqual((result.returncode, result.stdout.split()), (0, [str(number) for number in range(2, 12)]))


if __name__ == "__main__":
    unittest.main()
