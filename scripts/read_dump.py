#!/usr/bin/env python3
"""Reads a minidump of Windows: which functions and lines of our libraries are on the stacks.

    scripts/read_dump.py DUMP SYMBOLS

SYMBOLS is a folder with the libraries as they shipped and their symbols: NAME.dll and
NAME.dll.debug, also in folders below (a release's symbols, unpacked). A library is found by
the dump's build identifier, or by its checksum and size where the dump has none. Of a crash
it prints the thread that crashed, otherwise every thread with a library of ours on its stack.

A frame that begins with "?" was found by looking for return addresses on the stack and may
be left over from an earlier call. The others follow from the frame above by the library's
own tables (64-bit libraries for x64). Needs llvm-symbolizer.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import bisect
import dataclasses
import json
import os
import re
import struct
import subprocess
import sys


class DumpError(Exception):
    pass


def unpack(kind, data, offset):
    try:
        return struct.unpack_from("<" + kind, data, offset)
    except struct.error:
        raise DumpError("the file breaks off") from None


@dataclasses.dataclass(frozen=True)
class Architecture:
    """Where a thread's context has what a walk begins with."""

    word: str
    pc: int
    sp: int
    registers: int = 0  # sixteen of them, in the order of the unwind codes; 0: no unwinding


# By the number that the dump has for the processor.
ARCHITECTURES = {0: Architecture("I", 0xB8, 0xC4), 9: Architecture("Q", 0xF8, 0x98, 0x78),
                 12: Architecture("Q", 0x108, 0x100)}
RSP = 4


class Image:
    """A library as it ships."""

    def __init__(self, path):
        self.path = path
        with open(path, "rb") as file:
            self.data = file.read()
        header, = unpack("I", self.data, 0x3C)
        if self.data[header:header + 4] != b"PE\0\0":
            raise DumpError(f"{path} is no library")
        self.machine, sections = unpack("HH", self.data, header + 4)
        options_size, = unpack("H", self.data, header + 20)
        options = header + 24
        self.size, = unpack("I", self.data, options + 56)
        self.checksum, = unpack("I", self.data, options + 64)
        directories = options + (112 if unpack("H", self.data, options)[0] == 0x20B else 96)
        self.directory = lambda index: unpack("II", self.data, directories + 8 * index)
        self.sections = [unpack("8sIIII12xI", self.data, options + options_size + 40 * row) for row in range(sections)]
        self.functions = self.read_functions()
        self.identifier = self.read_identifier()

    def at(self, rva, size):
        """The bytes at an address; fewer where the file has no more."""
        for _, virtual_size, start, raw_size, raw, _ in self.sections:
            if start <= rva < start + max(virtual_size, raw_size):
                return self.data[raw + rva - start:raw + min(rva - start + size, raw_size)]
        return b""

    def is_code(self, rva):
        return any(start <= rva < start + size and flags & 0x20000000
                   for _, size, start, _, _, flags in self.sections)

    def read_functions(self):
        if self.machine != 0x8664:
            return []
        start, size = self.directory(3)
        return sorted(struct.iter_unpack("<III", self.at(start, size // 12 * 12)))

    def read_identifier(self):
        start, size = self.directory(6)
        for row in range(start, start + size, 28):
            kind, length, rva = unpack("12xIII", self.at(row, 28), 0)
            record = self.at(rva, length)
            if kind == 2 and record[:4] == b"RSDS":
                return record[4:20]
        return None

    def function_at(self, rva):
        row = bisect.bisect_right(self.functions, (rva, 0xFFFFFFFF, 0xFFFFFFFF)) - 1
        return self.functions[row] if row >= 0 and self.functions[row][0] <= rva < self.functions[row][1] else None

    def follows_a_call(self, rva):
        before = self.at(rva - 7, 7) if self.is_code(rva) else b""
        if len(before) < 7:
            return False
        if self.machine == 0xAA64:
            word, = struct.unpack("<I", before[3:])
            return word >> 26 == 0x25 or word & 0xFFFFFC1F == 0xD63F0000
        # call with a distance, or through a register or memory, of each length
        return before[2] == 0xE8 or any(before[at] == 0xFF and before[at + 1] >> 3 & 7 == 2 for at in (5, 4, 3, 1, 0))


@dataclasses.dataclass
class Module:
    base: int
    size: int
    checksum: int
    name: str
    identifier: bytes
    image: Image = None

    def holds(self, address):
        return self.base <= address < self.base + self.size


class Dump:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        if self.data[:4] != b"MDMP":
            raise DumpError(f"{path} is no minidump")
        count, rows = unpack("II", self.data, 8)
        self.streams = {}
        for row in range(count):
            kind, _, place = unpack("III", self.data, rows + 12 * row)
            self.streams[kind] = place
        number, = unpack("H", self.data, self.stream(7, "the system"))
        if number not in ARCHITECTURES:
            raise DumpError(f"the dump is of a processor that no library of ours is for ({number})")
        self.architecture = ARCHITECTURES[number]
        self.modules = self.read_modules()
        self.memory = self.read_memory()
        self.threads = self.read_threads()

    def stream(self, kind, meaning):
        if kind not in self.streams:
            raise DumpError(f"the dump says nothing of {meaning}")
        return self.streams[kind]

    def read_modules(self):
        place = self.stream(4, "modules")
        modules = []
        for row in range(unpack("I", self.data, place)[0]):
            at = place + 4 + 108 * row
            base, size, checksum, _, name = unpack("QIIII", self.data, at)
            record_size, record = unpack("II", self.data, at + 76)
            length, = unpack("I", self.data, name)
            text = self.data[name + 4:name + 4 + length].decode("utf-16-le", "replace")
            signature = self.data[record:record + record_size]
            identifier = signature[4:20] if signature[:4] == b"RSDS" else b""
            modules.append(Module(base, size, checksum, re.split(r"[\\/]", text)[-1], identifier))
        return modules

    def read_memory(self):
        """(address, bytes) of what the dump holds of the process."""
        ranges = []
        if 5 in self.streams:
            place = self.streams[5]
            for row in range(unpack("I", self.data, place)[0]):
                address, size, at = unpack("QII", self.data, place + 4 + 16 * row)
                ranges.append((address, self.data[at:at + size]))
        if 9 in self.streams:
            place = self.streams[9]
            count, at = unpack("QQ", self.data, place)
            for row in range(count):
                address, size = unpack("QQ", self.data, place + 16 + 16 * row)
                ranges.append((address, self.data[at:at + size]))
                at += size
        return ranges

    def read_threads(self):
        """(number, context's place, stack) of each."""
        place = self.stream(3, "threads")
        threads = []
        for row in range(unpack("I", self.data, place)[0]):
            at = place + 4 + 48 * row
            number, = unpack("I", self.data, at)
            address, size, stack, _, context = unpack("QIIII", self.data, at + 24)
            self.memory.append((address, self.data[stack:stack + size]))
            threads.append((number, context))
        return threads

    def exception(self):
        """(thread, code, address, parameters, context's place), or None."""
        if 6 not in self.streams:
            return None
        place = self.streams[6]
        thread, code, address, count = unpack("I4xI12xQI", self.data, place)
        parameters = unpack(f"{min(count, 15)}Q", self.data, place + 40)
        return thread, code, address, parameters, unpack("I", self.data, place + 164)[0]

    def word_at(self, address):
        size = struct.calcsize(self.architecture.word)
        for start, data in self.memory:
            if start <= address and address + size <= start + len(data):
                return unpack(self.architecture.word, data, address - start)[0]
        return None

    def module_at(self, address):
        return next((module for module in self.modules if module.holds(address)), None)


def find_symbols(dump, folder):
    """Gives each module of ours its image; the modules found, and words on those that are not."""
    images = []
    for place, _, names in os.walk(folder):
        for name in sorted(names):
            if name.lower().endswith(".dll") and os.path.exists(os.path.join(place, name + ".debug")):
                images.append(Image(os.path.join(place, name)))
    if not images:
        raise DumpError(f"{folder} holds no library with its symbols (NAME.dll and NAME.dll.debug)")
    names = {os.path.basename(image.path).lower() for image in images}
    lines = []
    for module in dump.modules:
        if module.name.lower() not in names:
            continue
        module.image = next((image for image in images if module.identifier == image.identifier or (
            not module.identifier and (module.checksum, module.size) == (image.checksum, image.size))), None)
        by = "build identifier" if module.identifier else "checksum and size; the dump has no build identifier"
        lines.append(f"{module.name} at {module.base:#x}: " + (
            f"symbols found by {by}" if module.image else "THE SYMBOLS ARE OF ANOTHER BUILD"))
    return lines or ["no library of ours is in this process"]


# Walking a stack.

class Walker:
    """One thread's frames: (address, certain)."""

    def __init__(self, dump, context):
        self.dump, self.architecture = dump, dump.architecture
        word = self.architecture.word
        self.pc, = unpack(word, dump.data, context + self.architecture.pc)
        self.sp, = unpack(word, dump.data, context + self.architecture.sp)
        self.registers = None
        if self.architecture.registers:
            self.registers = list(unpack("16Q", dump.data, context + self.architecture.registers))
        self.step = struct.calcsize(word)

    def frames(self):
        found, certain = [(self.pc, True)], True
        while len(found) < 200:
            module = self.dump.module_at(self.pc)
            if not (module and module.image and self.registers and self.unwind(module, len(found) == 1)):
                if not self.search():
                    break
                certain = False
            elif self.pc == 0:
                break
            found.append((self.pc, certain))
            certain = True
        return found

    def search(self):
        """To the next address on the stack that a call of our code may have left. One from
        which the tables lead nowhere is left over from an earlier call."""
        while (value := self.dump.word_at(self.sp)) is not None:
            self.sp += self.step
            if self.is_return_address(value) and self.leads_somewhere(value):
                self.pc = value
                if self.registers:
                    self.registers[RSP] = self.sp
                return True
        return False

    def is_return_address(self, value):
        module = self.dump.module_at(value)
        return bool(module and module.image and module.image.follows_a_call(value - module.base))

    def leads_somewhere(self, value):
        if not self.registers:
            return True
        saved = self.pc, self.sp, list(self.registers)
        self.pc, self.registers[RSP] = value, self.sp
        found = self.unwind(self.dump.module_at(value), False)
        caller = self.dump.module_at(self.pc)
        good = bool(found and caller and (not caller.image or self.is_return_address(self.pc)))
        self.pc, self.sp, self.registers = saved
        return good

    def unwind(self, module, first):
        """To the caller, by the function's unwind codes; False when the stack is not in the dump."""
        saved = list(self.registers)
        rva = self.pc - module.base
        # A return address may lie behind the function's last byte.
        function = module.image.function_at(rva if first else rva - 1)
        while function:
            begin, _, place = function
            function = self.undo(module.image, place, rva - begin)
        caller = self.dump.word_at(self.registers[RSP])
        if caller is None:
            self.registers = saved
            return False
        self.registers[RSP] += 8
        self.pc, self.sp = caller, self.registers[RSP]
        return True

    def undo(self, image, place, offset):
        """What the function's beginning did up to this offset; the function that it is a part of, if any."""
        kind, _, count, frame = struct.unpack("4B", image.at(place, 4))
        codes = struct.unpack(f"<{count}H", image.at(place + 4, 2 * count))
        at = 0
        while at < count:
            done, operation, info = codes[at] & 0xFF, codes[at] >> 8 & 15, codes[at] >> 12
            slots = {1: 3 if info else 2, 4: 2, 5: 3, 8: 2, 9: 3}.get(operation, 1)
            if done <= offset:
                self.undo_one(operation, info, frame, codes[at + 1:at + slots])
            at += slots
        if kind >> 3 & 4:
            return struct.unpack("<III", image.at(place + 4 + 2 * (count + 1 & ~1), 12))
        return None

    def undo_one(self, operation, info, frame, more):
        registers = self.registers
        if operation == 0:
            registers[info] = self.dump.word_at(registers[RSP]) or 0
            registers[RSP] += 8
        elif operation == 1:
            registers[RSP] += more[0] * 8 if len(more) == 1 else more[0] | more[1] << 16
        elif operation == 2:
            registers[RSP] += info * 8 + 8
        elif operation == 3:
            registers[RSP] = registers[frame & 15] - (frame >> 4) * 16
        elif operation in (4, 5):
            place = more[0] * 8 if len(more) == 1 else more[0] | more[1] << 16
            registers[info] = self.dump.word_at(registers[RSP] + place) or 0


# Names and lines.

def tidy(path):
    """A source's place in the tree, whatever folder it was built in."""
    return path.replace("\\", "/").split("/./")[-1].removeprefix("./")


def lines_of(module, rva):
    """"function  file:line" for the address, the inlined functions first."""
    result = subprocess.run(
        ["llvm-symbolizer", "--output-style=JSON", "--relative-address", "--demangle",
         "--obj=" + module.image.path + ".debug", hex(rva)], capture_output=True, text=True)
    if result.returncode != 0:
        raise DumpError(result.stderr.strip() or "llvm-symbolizer failed")
    answer = json.loads(result.stdout)
    # A list of one from version 14 on.
    for symbol in (answer[0] if isinstance(answer, list) else answer).get("Symbol", []):
        yield f"{symbol['FunctionName'] or '?'}  {tidy(symbol['FileName'] or '?')}:{symbol['Line']}"


def frame_lines(dump, address, certain, first):
    mark = " " if certain else "?"
    module = dump.module_at(address)
    if module is None:
        return [f"{mark} {address:#x}"]
    rva = address - module.base
    if not module.image:
        return [f"{mark} {module.name}+{rva:#x}"]
    names = list(lines_of(module, rva if first else rva - 1))
    return [f"{mark} {module.name}!{name}" + ("  (inlined)" if name is not names[-1] else "") for name in names]


def thread_text(dump, number, context, always):
    frames = Walker(dump, context).frames()
    if not always and not any((module := dump.module_at(address)) and module.image for address, _ in frames):
        return []
    lines = ["", f"thread {number:#x}"]
    for row, (address, certain) in enumerate(frames):
        lines += frame_lines(dump, address, certain, row == 0)
    return lines


def exception_text(code, address, parameters):
    text = f"exception {code:#010x} at {address:#x}"
    if code == 0xC0000005 and len(parameters) >= 2:
        text += f": {'writing' if parameters[0] == 1 else 'reading' if parameters[0] == 0 else 'running'}"
        text += f" {parameters[1]:#x}"
    return text


def report(dump, folder):
    lines = find_symbols(dump, folder)
    exception = dump.exception()
    if exception:
        thread, code, address, parameters, context = exception
        return [*lines, exception_text(code, address, parameters), *thread_text(dump, thread, context, True)]
    lines.append("no exception: a dump of a running or hanging process")
    for number, context in dump.threads:
        lines += thread_text(dump, number, context, False)
    return lines


def main(words):
    if words[:1] in (["-h"], ["--help"]):
        print(__doc__)
        return 0
    if len(words) != 2:
        print("read_dump.py: DUMP SYMBOLS are needed (see read_dump.py --help)", file=sys.stderr)
        return 2
    try:
        print("\n".join(report(Dump(words[0]), words[1])))
    except (DumpError, OSError) as error:
        print(f"read_dump.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
