"""Minidumps that a host makes of itself with the library on its stack, read with the symbols
alone: dumps_test.py ROOT PROGRAMS_FOLDER"""

import os
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from sources import line_of

ROOT, PROGRAMS = map(os.path.abspath, sys.argv[1:3])
del sys.argv[1:3]
READER = os.path.join(ROOT, "scripts/read_dump.py")
LIBRARY = "VeskardShellExt.dll"
DUMPED = 7
MENU = "shellext/contextmenu/ShellContextMenu.cpp"


class DumpsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.work.cleanup)
        # The symbols lie apart from the build folder, with the PDB, as in a release.
        cls.symbols = os.path.join(cls.work.name, "symbols")
        os.mkdir(cls.symbols)
        for name in (LIBRARY, LIBRARY + ".debug", "VeskardShellExt.pdb"):
            shutil.copy(os.path.join(PROGRAMS, name), cls.symbols)
        cls.dumps = {kind: cls.dump(kind) for kind in ("command", "selection", "hang")}

    @classmethod
    def dump(cls, kind):
        path = os.path.join(cls.work.name, kind + ".dmp")
        result = subprocess.run(
            [os.path.join(ROOT, "scripts/wine-run.sh"), os.path.join(PROGRAMS, "tests/dumping_host.exe"),
             "Z:" + os.path.join(PROGRAMS, LIBRARY).replace("/", "\\"), "Z:" + path.replace("/", "\\"), kind],
            capture_output=True, text=True, timeout=120)
        if result.returncode != DUMPED:
            raise AssertionError(f"{kind}: {result.returncode} {result.stderr}")
        return path

    def read_dump(self, path, symbols=None):
        return subprocess.run([sys.executable, "-B", READER, path, symbols or self.symbols], capture_output=True,
                              text=True, cwd=self.work.name, timeout=120)

    def frames(self, path):
        """(certain, function, source, line) of each frame in the library."""
        result = self.read_dump(path)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return [(mark == " ", function, source, int(line)) for mark, function, source, line in re.findall(
            rf"(?m)^([ ?]) {re.escape(LIBRARY)}!(.*?)  (\S+):(\d+)(?:  \(inlined\))?$", result.stdout)]

    def patched(self, change):
        """A copy of a dump; change gets its bytes and the place of the library's row."""
        data = bytearray(Path(self.dumps["command"]).read_bytes())
        name = LIBRARY.encode("utf-16-le")
        count, rows = struct.unpack_from("<II", data, 8)
        modules = next(place for kind, _, place in struct.iter_unpack("<III", data[rows:rows + 12 * count]) if kind == 4)
        for row in range(struct.unpack_from("<I", data, modules)[0]):
            at = modules + 4 + 108 * row
            text = struct.unpack_from("<I", data, at + 20)[0]
            if data[text + 4:text + 4 + struct.unpack_from("<I", data, text)[0]].endswith(name):
                change(data, at)
        path = os.path.join(self.work.name, "patched.dmp")
        Path(path).write_bytes(data)
        return path

    def with_identifier(self, identifier):
        """As Windows writes it: the row names a record at the end of the file."""
        def change(data, at):
            struct.pack_into("<II", data, at + 76, 25, len(data))
            data += b"RSDS" + identifier + struct.pack("<I", 1) + b"\0"
        return self.patched(change)

    def identifier(self):
        library = Path(PROGRAMS, LIBRARY).read_bytes()
        return library[library.index(b"RSDS") + 4:][:16]

    def test_a_crash_inside_the_library_is_shown_with_its_line(self):
        frames = self.frames(self.dumps["command"])
        expected = line_of(os.path.join(ROOT, MENU), "info->lpVerb")
        self.assertIn((True, "operator()", MENU, expected), frames[:1])
        self.assertEqual([function for _, function, _, _ in frames][-1],
                         "veskard::ShellContextMenu::InvokeCommand(_CMINVOKECOMMANDINFO*)")
        self.assertTrue(all(certain for certain, _, _, _ in frames))
        text = self.read_dump(self.dumps["command"]).stdout
        self.assertRegex(text, r"(?m)^exception 0xc0000005 at 0x[0-9a-f]+: reading 0x[0-9a-f]{2}$")
        # The caller follows from the library's tables.
        self.assertRegex(text, r"(?m)^  dumping_host\.exe\+0x[0-9a-f]+$")

    def test_a_crash_below_the_library_shows_who_called(self):
        frames = self.frames(self.dumps["selection"])
        self.assertIn((True, "veskard::ShellContextMenu::FetchSelection()"), [frame[:2] for frame in frames])
        self.assertIn((True, MENU), [(certain, source) for certain, function, source, _ in frames
                                     if "ShellContextMenu::QueryContextMenu" in function])

    def test_a_hanging_process_shows_the_thread_that_waits_in_the_library(self):
        text = self.read_dump(self.dumps["hang"]).stdout
        self.assertIn("no exception", text)
        self.assertEqual(len(re.findall(r"(?m)^thread ", text)), 1)
        frames = self.frames(self.dumps["hang"])
        # Found by looking, as what lies above it has no tables here.
        self.assertEqual(frames[0][:3], (False, "veskard::DropMedium::Fetch(IDataObject*)",
                                         "shellext/contextmenu/DropMedium.cpp"))

    def test_a_library_without_its_symbols_is_not_enough(self):
        empty = os.path.join(self.work.name, "without")
        os.makedirs(empty, exist_ok=True)
        shutil.copy(os.path.join(PROGRAMS, LIBRARY), empty)
        result = self.read_dump(self.dumps["command"], empty)
        self.assertEqual(result.returncode, 1)
        self.assertIn("holds no library with its symbols", result.stderr)

    def test_symbols_are_found_by_the_build_identifier(self):
        path = self.with_identifier(self.identifier())
        self.assertIn("symbols found by build identifier\n", self.read_dump(path).stdout)
        self.assertEqual(self.frames(path), self.frames(self.dumps["command"]))

    def test_symbols_of_another_build_are_refused(self):
        def another_checksum(data, at):
            struct.pack_into("<I", data, at + 12, struct.unpack_from("<I", data, at + 12)[0] + 1)
        for path in (self.with_identifier(bytes(16)), self.patched(another_checksum)):
            result = self.read_dump(path)
            self.assertIn("THE SYMBOLS ARE OF ANOTHER BUILD", result.stdout)
            self.assertNotIn(LIBRARY + "!", result.stdout)

    def test_a_dump_that_breaks_off_is_refused(self):
        data = Path(self.dumps["command"]).read_bytes()
        for size in (0, 3, 20, 100, 2000):
            path = os.path.join(self.work.name, "short.dmp")
            Path(path).write_bytes(data[:size])
            with self.subTest(size):
                result = self.read_dump(path)
                self.assertEqual(result.returncode, 1)
                self.assertRegex(result.stderr, r"\Aread_dump\.py: .+\n\Z")


if __name__ == "__main__":
    unittest.main()
