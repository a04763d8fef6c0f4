#!/usr/bin/env python3
"""Makes a PDB of a library's DWARF symbols: functions, inlined functions and lines, for WinDbg
and Visual Studio, which do not read DWARF.

    scripts/make_pdb.py LIBRARY PDB

LIBRARY is NAME.dll as it ships, with NAME.dll.debug beside it, linked with --pdb=PDB, so that it
names the file. The PDB gets the library's build identifier. Both files are changed:

    NAME.dll          loses the mark of symbols in a file of the kind before PDB, which ld sets
                      when it strips; debuggers would look for such a file only. For ARM64 it gets
                      an identifier of its contents: lld's depends on the folder of linking
    NAME.dll.debug    gets that identifier too, and loses the name of the PDB, or LLVM's tools
                      would read that in its place

LLVM's linker writes the PDB: from an object whose code is as long as the library's and empty, with
functions and lines at the library's places. Needs lld-link, llvm-cxxfilt, llvm-dwarfdump, llvm-mc,
llvm-nm and llvm-symbolizer; for ARM64 those of LLVM 19, whose compiler made the library.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import bisect
import dataclasses
import hashlib
import os
import posixpath
import re
import struct
import subprocess
import sys
import tempfile

# The folder of our sources, by the PDB. In a debugger a source path stands in for it.
SOURCES = "C:\\VeskardShellExt\\"
# Within it, the headers of the compiler's library that scripts/arm64-sysroot.sh builds.
COMPILERS_SOURCES = SOURCES + "build\\deps\\arm64\\"
CODE_START = 0x1000


class PdbError(Exception):
    pass


@dataclasses.dataclass(frozen=True)
class Architecture:
    name: str
    machine: str
    codeview: int
    word: str
    directories: int  # how far these are from the beginning of the optional header
    prefix: str  # of every C name
    compiler: str
    llvm: str = ""  # what the names of LLVM's programs end in
    links_with_lld: bool = False


# By the number of the machine in a library's header.
ARCHITECTURES = {0x8664: Architecture("x86_64", "x64", 0xD0, "Q", 112, "", "GCC"),
                 0x014C: Architecture("i686", "x86", 0x07, "I", 96, "_", "GCC"),
                 0xAA64: Architecture("aarch64", "arm64", 0xF6, "Q", 112, "", "Clang", "-19", True)}


def run(*command, text=None, folder=None):
    result = subprocess.run(command, input=text, cwd=folder, capture_output=True, encoding="utf-8")
    if result.returncode != 0:
        raise PdbError(f"{command[0]}: {(result.stderr or result.stdout).strip()}")
    return result.stdout


class Image:
    """A library's file, or that of its symbols."""

    def __init__(self, path):
        self.path = path
        with open(path, "rb") as file:
            self.data = bytearray(file.read())
        self.header, = self.unpack("I", 0x3C)
        machine, sections = self.unpack("HH", self.header + 4)
        if self.data[self.header:self.header + 4] != b"PE\0\0" or machine not in ARCHITECTURES:
            raise PdbError(f"{path} is no library for x64, x86 or ARM64")
        self.architecture = ARCHITECTURES[machine]
        self.options = self.header + 24
        first = self.options + self.unpack("H", self.header + 20)[0]
        self.sections = [self.unpack("8sIIII", first + 40 * row) for row in range(sections)]
        self.base, = self.unpack(self.architecture.word, self.options + (24 if self.architecture.word == "Q" else 28))

    def unpack(self, kind, place):
        return struct.unpack_from("<" + kind, self.data, place)

    def code_size(self):
        name, size, start, _, _ = self.sections[0]
        if (name.rstrip(b"\0"), start) != (b".text", CODE_START):
            raise PdbError(f"{self.path} does not begin with its code")
        return size

    def place_of(self, rva):
        for _, size, start, raw_size, raw in self.sections:
            if start <= rva < start + max(size, raw_size):
                return raw + rva - start
        raise PdbError(f"{self.path} has nothing at {rva:#x}")

    def identifier_place(self):
        rva, size = self.unpack("II", self.options + self.architecture.directories + 8 * 6)
        for row in range(rva, rva + size, 28):
            kind, _, record = self.unpack("12xIII", self.place_of(row))
            place = self.place_of(record)
            if kind == 2 and self.data[place:place + 4] == b"RSDS":
                return place + 4
        raise PdbError(f"{self.path} has no build identifier")

    def identifier(self):
        place = self.identifier_place()
        return bytes(self.data[place:place + 16])

    def set_identifier(self, identifier):
        place = self.identifier_place()
        self.data[place:place + 16] = identifier

    def identifier_of_contents(self):
        """Whatever the identifier and the checksum are."""
        self.set_identifier(bytes(16))
        self.checksum()  # clears it
        return hashlib.sha256(self.data).digest()[:16]

    def clear_pdb_name(self):
        self.data[self.identifier_place() + 20] = 0

    def clear_mark(self):
        stripped = 0x200
        flags, = self.unpack("H", self.header + 22)
        struct.pack_into("<H", self.data, self.header + 22, flags & ~stripped)

    def save(self):
        struct.pack_into("<I", self.data, self.options + 64, self.checksum())
        with open(self.path, "r+b") as file:
            file.write(self.data)

    def checksum(self):
        struct.pack_into("<I", self.data, self.options + 64, 0)
        data = self.data + bytes(len(self.data) % 2)
        # The sum of all words, with the carry added at the end.
        total = sum(struct.unpack(f"<{len(data) // 2}H", data))
        while total > 0xFFFF:
            total = (total & 0xFFFF) + (total >> 16)
        return total + len(self.data)


# From the DWARF file.

@dataclasses.dataclass
class Function:
    start: int
    end: int
    linkage_name: str
    is_public: bool
    name: str = ""


def functions_of(symbols, start, end, architecture):
    """The functions in the order of their addresses. Where one has several names, the first counts."""
    found = {}
    for line in run("llvm-nm" + architecture.llvm, "--numeric-sort", "--defined-only", symbols).splitlines():
        address, kind, name = line.split(maxsplit=2)
        if kind in "Tt" and not name.startswith(".") and start <= (address := int(address, 16)) < end:
            if address not in found or (kind == "T" and not found[address].is_public):
                found[address] = Function(address, end, name, kind == "T")
    functions = list(found.values())
    for function, following in zip(functions, functions[1:]):
        function.end = following.start
    # Without what marks the calling convention and the object format.
    plain = [re.sub(r"@\d+(?=$|\.)", "", function.linkage_name).removeprefix(architecture.prefix)
             for function in functions]
    names = run("llvm-cxxfilt" + architecture.llvm, text="\n".join(plain) + "\n").splitlines()
    for function, name in zip(functions, names, strict=True):
        function.name = name
    return functions


@dataclasses.dataclass(frozen=True)
class Place:
    function: str
    source: str
    line: int


def source_path(path):
    """The compiler's libraries name their sources in full."""
    if path.startswith("/"):
        return posixpath.normpath(path)
    return SOURCES + posixpath.normpath(path.split("/./")[-1]).replace("/", "\\")


def is_ours(source):
    return source.startswith(SOURCES) and not source.startswith(COMPILERS_SOURCES)


class Lines:
    """Where each line begins: its place in the function, followed by that in the function inlined
    there, and so on. The compiler's libraries count as part of what calls them."""

    def __init__(self, symbols, architecture):
        rows = run("llvm-dwarfdump" + architecture.llvm, "--debug-line", symbols).splitlines()
        self.addresses = sorted({int(row.split(maxsplit=1)[0], 16) for row in rows if row.startswith("0x")})
        answers = run("llvm-symbolizer" + architecture.llvm, "--demangle", "--obj=" + symbols,
                      text="".join(f"{address:#x}\n" for address in self.addresses))
        self.places = [self.read(answer) for answer in answers.split("\n\n")[:len(self.addresses)]]

    @staticmethod
    def read(answer):
        lines = answer.strip("\n").split("\n")
        places = []
        for function, position in zip(lines[::2], lines[1::2]):
            source, line, _ = position.rsplit(":", 2)
            places.append(Place(function, source_path(source), int(line)))
        # Line 0 is code that belongs to no line of its function.
        numbered = len(places)
        while numbered > 0 and places[numbered - 1].line:
            numbered -= 1
        del places[:numbered]
        while len(places) > 1 and not is_ours(places[0].source):
            del places[0]
        return places[::-1]

    def of(self, function):
        first = bisect.bisect_left(self.addresses, function.start)
        last = bisect.bisect_left(self.addresses, function.end)
        return [row for row in zip(self.addresses[first:last], self.places[first:last]) if row[1]]


# The object, in the assembler's language, with the records of the CodeView format.

S_END, S_OBJNAME, S_LPROC32, S_GPROC32, S_COMPILE3, S_INLINESITE, S_INLINESITE_END = (
    0x0006, 0x1101, 0x110F, 0x1110, 0x113C, 0x114D, 0x114E)
LF_PROCEDURE, LF_ARGLIST, LF_FUNC_ID = 0x1008, 0x1201, 0x1601
SYMBOLS, INLINED_FUNCTIONS = 0xF1, 0xF6
ARGUMENT_LIST, FUNCTION_TYPE, FIRST_FUNCTION = 0x1000, 0x1001, 0x1002
FORMAT = 4


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def record(kind, *contents):
    return [".short 9f - 8f", "8:", f".short {kind:#x}", *contents, "9:"]


def subsection(kind, *contents):
    return [f".long {kind:#x}", ".long 7f - 6f", "6:", *contents, "7:", ".p2align 2"]


class Numbers(dict):
    """Gives each new key the next number."""

    def __init__(self, first):
        super().__init__()
        self.first = first

    def __missing__(self, key):
        self[key] = self.first + len(self)
        return self[key]


class Site:
    """A function, or one inlined into it. Its number stands before each of its lines."""

    def __init__(self, number, function):
        self.number, self.function = number, function
        self.inlined = {}  # sites, by the calls


class Assembly:
    def __init__(self, library, functions, lines):
        self.library = library
        self.files, self.inlined = Numbers(1), Numbers(FIRST_FUNCTION)
        self.first_places = {}  # of inlined functions: the lines are counted from there
        self.code, self.procedures, self.tables = [], [], []
        self.sites = len(functions)
        self.place = library.base + CODE_START
        end = self.place + library.code_size()
        for number, function in enumerate(functions):
            self.add(number, function, lines.of(function))
        self.move_to(end)

    def text(self):
        return "\n".join([
            *(f".cv_file {number} {quoted(source)}" for source, number in self.files.items()),
            '.section .text,"xr"', *self.code,
            '.section .debug$S,"dr"', ".p2align 2", f".long {FORMAT}",
            *subsection(SYMBOLS, *self.header(), *self.procedures), *self.tables,
            *subsection(INLINED_FUNCTIONS, ".long 0", *self.inlined_functions()),
            ".cv_filechecksums", ".cv_stringtable",
            '.section .debug$T,"dr"', ".p2align 2", f".long {FORMAT}", *self.types(), ""])

    def move_to(self, address):
        if address > self.place:
            self.code.append(f".skip {address - self.place}")
        self.place = address

    def add(self, number, function, rows):
        whole = Site(number, function.name)
        begin, end = f"begin{number}", f"end{number}"
        self.move_to(function.start)
        if function.is_public:
            self.code += [f".globl {quoted(function.linkage_name)}", f"{quoted(function.linkage_name)}:"]
        self.code += [f"{begin}:", f".cv_func_id {number}"]
        chains = [self.sites_of(whole, places) for _, places in rows]
        # The assembler takes a site's lines from the first to the last that are its own. So these
        # are, though they belong to what is inlined there.
        rows_of = {}
        for row, chain in enumerate(chains):
            for site in chain:
                rows_of.setdefault(site, []).append(row)
        for row, ((address, places), chain) in enumerate(zip(rows, chains)):
            self.move_to(address)
            for site, place in zip(chain, places):
                if site is chain[-1] or row in (rows_of[site][0], rows_of[site][-1]):
                    self.code.append(f".cv_loc {site.number} {self.files[place.source]} {place.line} 0 is_stmt 1")
        self.move_to(function.end)
        self.code.append(f"{end}:")
        if rows:
            self.tables.append(f".cv_linetable {number}, {begin}, {end}")
        self.procedures += [
            *record(S_GPROC32 if function.is_public else S_LPROC32,
                    f".long 0, 0, 0, {end} - {begin}, 0, {end} - {begin}, 0",
                    f".secrel32 {begin}", f".secidx {begin}", ".byte 0", f".asciz {quoted(function.name)}"),
            *self.inline_sites(whole, begin, end), *record(S_END)]

    def sites_of(self, site, places):
        chain = [site]
        for caller, place in zip(places, places[1:]):
            call = caller.source, caller.line, place.function
            if call not in site.inlined:
                site.inlined[call] = Site(self.sites, place.function)
                self.sites += 1
                self.first_places.setdefault(place.function, place)
                self.code.append(f".cv_inline_site_id {site.inlined[call].number} within {site.number} "
                                 f"inlined_at {self.files[caller.source]} {caller.line} 0")
            site = site.inlined[call]
            chain.append(site)
        return chain

    def inline_sites(self, site, begin, end):
        for inlined in site.inlined.values():
            first = self.first_places[inlined.function]
            yield from record(
                S_INLINESITE, ".long 0, 0", f".long {self.inlined[inlined.function]:#x}",
                f".cv_inline_linetable {inlined.number} {self.files[first.source]} {first.line} {begin} {end}")
            yield from self.inline_sites(inlined, begin, end)
            yield from record(S_INLINESITE_END)

    def inlined_functions(self):
        for name, number in self.inlined.items():
            first = self.first_places[name]
            yield from (f".long {number:#x}", f".cv_filechecksumoffset {self.files[first.source]}",
                        f".long {first.line}")

    def header(self):
        version = "0, 0, 0, 0"
        return [*record(S_OBJNAME, ".long 0", f".asciz {quoted(os.path.basename(self.library.path))}"),
                *record(S_COMPILE3, ".long 1", f".short {self.library.architecture.codeview:#x}, {version}, {version}",
                        f".asciz {quoted(self.library.architecture.compiler)}")]

    def types(self):
        """One type for all functions: void f(). Then the functions that are inlined."""
        void = 3
        yield from record(LF_ARGLIST, ".long 0")
        yield from record(LF_PROCEDURE, f".long {void}", ".byte 0, 0", ".short 0", f".long {ARGUMENT_LIST:#x}")
        for name in self.inlined:
            yield from record(LF_FUNC_ID, f".long 0, {FUNCTION_TYPE:#x}", f".asciz {quoted(name)}", ".p2align 2, 0xF1")


def link(library, text):
    """The PDB, and the build identifier that the linker has given it. Relative paths keep it the
    same wherever it is made."""
    architecture = library.architecture
    name = os.path.basename(library.path)
    with tempfile.TemporaryDirectory() as folder:
        run("llvm-mc" + architecture.llvm, "--filetype=obj", f"--triple={architecture.name}-pc-windows-msvc",
            "-o", "symbols.obj", "-", text=text, folder=folder)
        run("lld-link" + architecture.llvm, "/dll", "/noentry", "/nodefaultlib", "/debug", "/opt:noref", "/timestamp:0",
            "/safeseh:no", f"/machine:{architecture.machine}", f"/base:{library.base:#x}", f"/out:{name}",
            "/pdb:symbols.pdb", "/pdbaltpath:symbols.pdb", "/pdbsourcepath:" + SOURCES.rstrip("\\"), "symbols.obj",
            folder=folder)
        with open(os.path.join(folder, "symbols.pdb"), "rb") as file:
            return file.read(), Image(os.path.join(folder, name)).identifier()


def make_pdb(path, result):
    library, dwarf = Image(path), Image(path + ".debug")
    architecture = library.architecture
    library.clear_mark()
    dwarf.clear_pdb_name()
    if architecture.links_with_lld:
        library.set_identifier(library.identifier_of_contents())
        dwarf.set_identifier(library.identifier())
    dwarf.save()
    start = library.base + CODE_START
    functions = functions_of(dwarf.path, start, start + library.code_size(), architecture)
    pdb, identifier = link(library, Assembly(library, functions, Lines(dwarf.path, architecture)).text())
    if pdb.count(identifier) != 1:
        raise PdbError("the PDB does not have its identifier once")
    with open(result, "wb") as file:
        file.write(pdb.replace(identifier, library.identifier()))
    library.save()


def main(words):
    if words[:1] in (["-h"], ["--help"]):
        print(__doc__)
        return 0
    if len(words) != 2:
        print("make_pdb.py: expected arguments: LIBRARY PDB (see make_pdb.py --help)", file=sys.stderr)
        return 2
    try:
        make_pdb(*words)
    except (PdbError, OSError, struct.error) as error:
        print(f"make_pdb.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
