#!/usr/bin/env python3
"""Checks built libraries without running them.

    scripts/library_file.py IMPORTS ROOT VERSION PRODUCT WINDOWS LIBRARY...

IMPORTS is the list of allowed imports, ROOT the project's root, VERSION and PRODUCT the
expected values of the version resource. WINDOWS is the oldest Windows that must load the
library; "-" stands for the oldest one of the file's architecture. Prints each finding as a
line on standard error. Started by scripts/check-library.sh; needs the package
python3-pefile.

Exit codes: 0 done; 1 findings; 2 wrong command line.
"""

import dataclasses
import os
import sys

KIB = 1024

# What a library of each name exports, in the order of the names.
EXPORTS = {
    "VeskardShellExt.dll": [
        "DllGetClassObject", "DllInstall", "DllRegisterServer", "DllUnregisterServer", "GetExtVersion"],
    "VeskardExplorerCommand.dll": ["DllCanUnloadNow", "DllGetClassObject"],
}


@dataclasses.dataclass(frozen=True)
class Architecture:
    """What a library for one kind of processor is to look like."""

    oldest_windows: tuple
    most_bytes: int
    # Bits of DllCharacteristics, by their names.
    hardening: tuple
    # Every library has the first ones, and none has others than both.
    sections: frozenset
    more_sections: frozenset


HARDENING = ("DYNAMIC_BASE", "NX_COMPAT")
# What our own code and the linkers make on each architecture: .late holds the addresses of
# what core/LateLibrary.h loads.
COMMON = {".text", ".rdata", ".data", ".rsrc", ".reloc"}
GNU = {".bss", ".edata", ".idata", ".CRT", ".tls", ".late", ".buildid"}

# By the number of the machine in the file's header. The oldest Windows is the one that
# README.md names; Windows for ARM64 begins with 10.
ARCHITECTURES = {
    0x8664: Architecture((6, 1), 900 * KIB, (*HARDENING, "HIGH_ENTROPY_VA"), frozenset(COMMON | {".pdata", ".xdata"}),
                         frozenset(GNU)),
    # The file has room for eight characters of ".eh_frame".
    0x014C: Architecture((6, 1), 1000 * KIB, HARDENING, frozenset(COMMON), frozenset(GNU | {".eh_fram"})),
    0xAA64: Architecture((10, 0), 800 * KIB, (*HARDENING, "HIGH_ENTROPY_VA"), frozenset(COMMON | {".pdata"}),
                         frozenset({".tls", ".late", ".buildid"})),
}


def version_of(text):
    return tuple(int(part) for part in text.split("."))


def written(version):
    return ".".join(map(str, version))


def name_of_section(section):
    return section.Name.rstrip(b"\0").decode("ascii", "replace")


def read_import_list(path):
    """Since which Windows there is each function, by "DLL FUNCTION"."""
    since = {}
    with open(path, encoding="utf-8") as file:
        for line in file:
            words = line.partition("#")[0].split()
            if words:
                since[words[1], words[2]] = version_of(words[0])
    return since


class LibraryFile:
    """A library's file, and what is wrong with it."""

    def __init__(self, path):
        import pefile  # here, so that the help needs no package

        self.path = path
        self.pefile = pefile
        self.pe = pefile.PE(path)
        self.architecture = ARCHITECTURES.get(self.pe.FILE_HEADER.Machine)
        self.findings = []

    def complain(self, text):
        self.findings.append(text)

    def imports(self):
        """(library, function) for each, "number N" for one without a name."""
        for kind in ("DIRECTORY_ENTRY_IMPORT", "DIRECTORY_ENTRY_DELAY_IMPORT"):
            for library in getattr(self.pe, kind, []):
                dll = library.dll.decode().lower().removesuffix(".dll")
                for entry in library.imports:
                    yield dll, entry.name.decode() if entry.name else f"number {entry.ordinal}"

    def check_imports(self, list_path, root, oldest):
        since = read_import_list(list_path)
        listed = os.path.relpath(list_path, root)
        imports = list(self.imports())
        if not imports:
            self.complain("imports nothing")
        for dll, function in imports:
            first = since.get((dll, function))
            if first is None:
                self.complain(f"imports {function} of {dll}, which has no row in {listed}")
            elif first > oldest:
                self.complain(f"imports {function} of {dll}, which Windows {written(oldest)} does not have, "
                              f"only {written(first)}")

    def check_exports(self):
        table = getattr(self.pe, "DIRECTORY_ENTRY_EXPORT", None)
        names = [entry.name.decode() if entry.name else f"number {entry.ordinal}" for entry in table.symbols
                 ] if table else []
        expected = EXPORTS.get(os.path.basename(self.path))
        if expected is None:
            self.complain("has a name that no library of ours has: " + ", ".join(EXPORTS))
        elif names != expected:
            self.complain("exports " + (" ".join(names) or "nothing"))

    def check_hardening(self):
        set_bits = self.pe.OPTIONAL_HEADER.DllCharacteristics
        for name in self.architecture.hardening:
            if not set_bits & self.pefile.DLL_CHARACTERISTICS["IMAGE_DLLCHARACTERISTICS_" + name]:
                self.complain(f"{name} is not set")

    def check_sections(self):
        found = {name_of_section(section) for section in self.pe.sections}
        # Without .reloc the system cannot move the library at all.
        for name in sorted(self.architecture.sections - found):
            self.complain(f"has no section {name}")
        for name in sorted(found - self.architecture.sections - self.architecture.more_sections):
            self.complain(f"has a section {name}")
        for section in self.pe.sections:
            if section.IMAGE_SCN_MEM_WRITE and section.IMAGE_SCN_MEM_EXECUTE:
                self.complain(f"its section {name_of_section(section)} can be written and run")

    def check_reproducible_fields(self, root):
        times = [self.pe.FILE_HEADER.TimeDateStamp]
        if hasattr(self.pe, "DIRECTORY_ENTRY_EXPORT"):
            times.append(self.pe.DIRECTORY_ENTRY_EXPORT.struct.TimeDateStamp)
        if any(times):
            self.complain("carries the time of its linking")
        if os.fsencode(root + "/") in self.pe.__data__[:]:
            self.complain("carries the path of the tree that it was built in")

    def check_build_identifier(self):
        """By this a crash dump and the file of symbols find each other."""
        entries = getattr(self.pe, "DIRECTORY_ENTRY_DEBUG", [])
        if not any(entry.entry and entry.entry.name == "CV_INFO_PDB70" for entry in entries):
            self.complain("has no build identifier")

    def details(self):
        """The texts of the version resource."""
        return {key.decode(): value.decode("utf-8", "replace")
                for block in getattr(self.pe, "FileInfo", [])
                for entry in block if entry.Key == b"StringFileInfo"
                for table in entry.StringTable
                for key, value in table.entries.items()}

    def check_version(self, version, product):
        details = self.details()
        for key, expected in (("ProductVersion", version), ("FileVersion", version), ("ProductName", product),
                              ("OriginalFilename", os.path.basename(self.path))):
            if details.get(key) != expected:
                self.complain(f"its {key} is {details.get(key)}, not {expected}")

    def check_size(self):
        size = os.path.getsize(self.path)
        if size > self.architecture.most_bytes:
            self.complain(f"has {size:,} bytes, more than {self.architecture.most_bytes:,}")


def findings_of(path, import_list, root, version, product, oldest):
    library = LibraryFile(path)
    if library.architecture is None:
        return ["is for a processor that no library of ours is for"]
    library.check_imports(import_list, root, oldest or library.architecture.oldest_windows)
    library.check_exports()
    library.check_hardening()
    library.check_sections()
    library.check_reproducible_fields(root)
    library.check_build_identifier()
    library.check_version(version, product)
    library.check_size()
    return library.findings


def main(words):
    if words and words[0] in ("-h", "--help"):
        print(__doc__)
        return 0
    if len(words) < 6:
        print("library_file.py: expected arguments: IMPORTS ROOT VERSION PRODUCT WINDOWS LIBRARY... "
              "(see library_file.py --help)", file=sys.stderr)
        return 2
    import_list, root, version, product, windows, *paths = words
    oldest = None if windows == "-" else version_of(windows)
    failed = False
    for path in paths:
        for finding in findings_of(path, import_list, root, version, product, oldest):
            print(f"{path}: {finding}", file=sys.stderr)
            failed = True
    return int(failed)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
