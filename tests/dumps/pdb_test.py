"""The PDB of each shipped library, read by the debugger's library of Windows (Wine's) and by LLVM's
tools, and compared with the DWARF file: pdb_test.py ROOT PROGRAMS_FOLDER LLVM, the last being what
the names of LLVM's tools end in"""

import bisect
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
LLVM = sys.argv[3]
del sys.argv[1:4]
MAKER = os.path.join(ROOT, "scripts/make_pdb.py")
NAMES = ("VeskardShellExt", "VeskardExplorerCommand")
SOURCES = "C:\\VeskardShellExt\\"
MENU = "shellext/contextmenu/ShellContextMenu.cpp"
INVOKE = "veskard::ShellContextMenu::InvokeCommand(_CMINVOKECOMMANDINFO*)"
FETCH = "veskard::ShellContextMenu::FetchSelection()"


def run(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True, timeout=120).stdout


class Library:
    def __init__(self, name):
        self.name = name
        self.dll = os.path.join(PROGRAMS, name + ".dll")
        self.pdb = os.path.join(PROGRAMS, name + ".pdb")
        self.data = Path(self.dll).read_bytes()
        self.header, = struct.unpack_from("<I", self.data, 0x3C)
        word, place = ("<Q", 48) if self.is_64() else ("<I", 52)
        self.base, = struct.unpack_from(word, self.data, self.header + place)
        sections = self.header + 24 + struct.unpack_from("<H", self.data, self.header + 20)[0]
        self.code_size, self.code = struct.unpack_from("<II", self.data, sections + 8)

    def is_64(self):
        return struct.unpack_from("<H", self.data, self.header + 24)[0] == 0x20B

    def record(self):
        """The build identifier, its age, and the name of the PDB."""
        place = self.data.index(b"RSDS") + 4
        identifier, age = struct.unpack_from("<16sI", self.data, place)
        return identifier, age, self.data[place + 20:self.data.index(0, place + 20)].decode()

    def dwarf(self, rvas):
        """(function, source, line) of each place, as the DWARF file has it: that of the function, not of
        what is inlined there."""
        text = "".join(f"{self.base + rva:#x}\n" for rva in rvas)
        answers = run("llvm-symbolizer" + LLVM, "--demangle", "--obj=" + self.dll + ".debug", text=text).split("\n\n")
        for answer in answers[:len(rvas)]:
            function, place = answer.strip("\n").split("\n")[-2:]
            source, line, _ = place.rsplit(":", 2)
            yield function, source.split("/./")[-1], int(line)

    def pdb_lines(self, rvas):
        """(source, line) of each place, None outside the functions."""
        rows, source, end = {}, None, 0
        for row in run("llvm-pdbutil" + LLVM, "dump", "-l", self.pdb).splitlines():
            if match := re.match(r"(\S.*) \(no checksum\)$", row):
                source = match[1]
            elif match := re.match(r" +0001:[0-9A-F]{8}-([0-9A-F]{8}), line", row):
                end = int(match[1], 16)
            else:
                rows |= {int(place, 16): (end, (source, int(line)))
                         for line, place in re.findall(r" (\d+) ([0-9A-F]{8}) ", row + " ")}
        places = sorted(rows)
        found = {}
        for rva in rvas:
            at = bisect.bisect_right(places, rva - self.code) - 1
            end, place = rows[places[at]] if at >= 0 else (0, None)
            found[rva] = place if rva - self.code < end else None
        return found

    def line_starts(self):
        rows = run("llvm-dwarfdump" + LLVM, "--debug-line", self.dll + ".debug").splitlines()
        addresses = {int(words[0], 16) - self.base for words in map(str.split, rows)
                     if words and words[0].startswith("0x") and "end_sequence" not in words}
        return sorted(rva for rva in addresses if 0 <= rva - self.code < self.code_size)

    def function_rva(self, method):
        """A method of ShellContextMenu, by its name in the symbols."""
        rows = run("llvm-nm" + LLVM, "--defined-only", self.dll + ".debug")
        address, = re.findall(rf"(?m)^([0-9a-f]+) T _?_ZN7veskard16ShellContextMenu{len(method)}{method}E", rows)
        return int(address, 16) - self.base


class PdbTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.work.cleanup)
        cls.libraries = [Library(name) for name in NAMES]

    def folder(self, name):
        path = os.path.join(self.work.name, name)
        os.makedirs(path)
        return path

    def debugger(self, library, pdb_data, rvas):
        """What Windows' way of reading symbols finds where only this PDB is; None when it refuses it."""
        folder = tempfile.mkdtemp(dir=self.work.name)
        shutil.copy(library.dll, folder)
        Path(folder, library.name + ".pdb").write_bytes(pdb_data)
        windows = "Z:" + folder.replace("/", "\\")
        result = subprocess.run(
            [os.path.join(ROOT, "scripts/wine-run.sh"), os.path.join(PROGRAMS, "tests/pdb_reader.exe"),
             f"{windows}\\{library.name}.dll", windows, *(f"{rva:x}" for rva in rvas)],
            capture_output=True, text=True, timeout=120)
        if result.returncode == 1:
            return None
        self.assertEqual(result.returncode, 0, result.stderr)
        rows = [line.split("\t") for line in result.stdout.splitlines()]
        return [(function, source, int(line)) for function, source, line in rows]

    def test_the_library_names_its_pdb_and_both_have_one_identifier(self):
        identifiers = set()
        for library in self.libraries:
            identifier, age, name = library.record()
            summary = run("llvm-pdbutil" + LLVM, "dump", "-summary", library.pdb)
            words = struct.unpack("<IHH", identifier[:8])
            text = "{%08X-%04X-%04X-%s-%s}" % (*words, identifier[8:10].hex().upper(), identifier[10:].hex().upper())
            self.assertIn(f"  Age: {age}\n  GUID: {text}\n", summary)
            self.assertEqual(name, library.name + ".pdb")
            identifiers.add(identifier)
        self.assertEqual(len(identifiers), len(NAMES))

    def test_a_debugger_finds_functions_and_their_lines(self):
        library = self.libraries[0]
        rvas = [library.function_rva(name) for name in ("InvokeCommand", "FetchSelection")]
        found = self.debugger(library, Path(library.pdb).read_bytes(), [*rvas, rvas[0] + 3])
        source = SOURCES + MENU.replace("/", "\\")
        invoke = INVOKE, source, line_of(os.path.join(ROOT, MENU), "ShellContextMenu::InvokeCommand(")
        fetch = FETCH, source, line_of(os.path.join(ROOT, MENU), "ShellContextMenu::FetchSelection(")
        self.assertEqual(found, [invoke, fetch, invoke])

    def test_every_line_is_that_of_the_dwarf_file(self):
        for library in self.libraries:
            rvas = library.line_starts()
            ours = {rva: (SOURCES + source.replace("/", "\\"), line)
                    for rva, (_, source, line) in zip(rvas, library.dwarf(rvas))
                    if line and os.path.exists(os.path.join(ROOT, source)) and not os.path.isabs(source)}
            self.assertGreater(len(ours), 10000)
            found = library.pdb_lines(list(ours))
            self.assertEqual({hex(rva): (found[rva], place) for rva, place in ours.items() if found[rva] != place}, {})

    def test_inlined_functions_have_their_names(self):
        library = self.libraries[0]
        begin = library.function_rva("InvokeCommand")
        rvas = [rva for rva in library.line_starts() if begin <= rva < begin + 64]
        frames = run("llvm-symbolizer" + LLVM, "--relative-address", "--obj=" + library.dll,
                     text="".join(f"{rva:#x}\n" for rva in rvas)).split("\n\n")
        names = [re.sub(r"<.*", "", " ".join(frame.strip("\n").split("\n")[::2])) for frame in frames]
        # Clang names them in full.
        inlined = [name for name in names if re.search(r"operator\(\).* (veskard::)?ComBoundary$", name)]
        self.assertNotEqual(inlined, [], names)

    def test_the_public_names_are_those_of_the_linker(self):
        for library in self.libraries:
            names = set(re.findall(r"S_PUB32 .* `(.*)`", run("llvm-pdbutil" + LLVM, "dump", "-publics", library.pdb)))
            self.assertIn("DllGetClassObject", {name.removeprefix("_").split("@")[0] for name in names})
            self.assertGreater(len([name for name in names if "7veskard" in name]), 300)

    def test_the_pdb_of_another_build_is_refused(self):
        library = self.libraries[0]
        other = Path(library.pdb).read_bytes().replace(library.record()[0], bytes(16))
        self.assertIsNone(self.debugger(library, other, [0x1000]))

    def test_it_is_the_same_wherever_it_is_made(self):
        for library in self.libraries:
            for folder in (self.folder(library.name), self.folder("a/much/longer/path/" + library.name)):
                for name in (library.dll, library.dll + ".debug"):
                    shutil.copy(name, folder)
                run(MAKER, os.path.join(folder, library.name + ".dll"), os.path.join(folder, "result.pdb"))
                self.assertEqual(Path(folder, "result.pdb").read_bytes(), Path(library.pdb).read_bytes())
                # They have been changed by the build already.
                for name in (library.dll, library.dll + ".debug"):
                    self.assertEqual(Path(folder, os.path.basename(name)).read_bytes(), Path(name).read_bytes())

    def test_the_libraries_checksum_is_right(self):
        for library in self.libraries:
            place = library.header + 24 + 64
            data = library.data[:place] + bytes(4) + library.data[place + 4:]
            words = struct.unpack(f"<{len(data) // 2}H", data)
            # Words are added with the carry coming back in, which is the sum modulo 0xFFFF.
            self.assertEqual(struct.unpack_from("<I", library.data, place)[0],
                             (sum(words) - 1) % 0xFFFF + 1 + len(library.data))

    def test_it_names_no_folder_of_this_machine(self):
        for library in self.libraries:
            data = Path(library.pdb).read_bytes()
            for name in (ROOT, PROGRAMS, tempfile.gettempdir() + "/"):
                self.assertNotIn(os.fsencode(name), data)

    def test_files_that_are_no_library_are_refused(self):
        folder = self.folder("refused")
        path = os.path.join(folder, "x.dll")
        shutil.copy(self.libraries[0].dll, path)
        for symbols in (None, b"", b"MZ" + bytes(200)):
            if symbols is not None:
                Path(path + ".debug").write_bytes(symbols)
            result = subprocess.run([MAKER, path, os.path.join(folder, "x.pdb")], capture_output=True, text=True)
            self.assertEqual(result.returncode, 1)
            self.assertRegex(result.stderr, r"\Amake_pdb\.py: .+\n\Z")
            self.assertEqual(sorted(name for name in os.listdir(folder) if name.endswith(".pdb")), [])


if __name__ == "__main__":
    unittest.main()
