#!/usr/bin/env python3
"""Prints the size of the library's parts as a Markdown table, by the linker's map.

    scripts/library_size.py LIBRARY MAP FOLDER    FOLDER is the project's root

Sizes are bytes of the file.

Exit codes: 0 done; 1 larger than the aim; 2 wrong command line.
"""

import collections
import os
import re
import sys

from dependencies import LIBRARY as FOLDERS

AIM = 700 * 1024  # bytes, without the resources

# Sections that take room in the file.
SECTIONS = {".text", ".data", ".rdata", ".late", ".pdata", ".xdata", ".eh_frame", ".edata", ".idata", ".CRT", ".tls", ".rsrc", ".reloc"}
# One input section: its address, its size, and the file that it came from.
CONTRIBUTION = re.compile(r"\s(0x[0-9a-f]{8,16})\s+(0x[0-9a-f]+) (\S.*)$")

# What other files count to, by their names; the first that fits.
OTHERS = [
    (r"/lib(stdc\+\+|gcc|gcc_eh|pthread)\.a|/crt(begin|end)\.o", "C++ run-time library"),
    (r"/lib(mingw32|mingwex)\.a|/dllcrt2\.o|^LONG", "C run-time library"),
    (r"libminizip\.a|/libz\.a", "minizip and zlib"),
    (r"language_archive", "resources: languages"),
    (r"menu_icons", "resources: icons"),
    (r"\.rc\.res", "resources: version"),
    (r"dll stuff|/lib\w+\.a", "imports, exports, relocations"),
]


def folders_by_source(root):
    """The folder of each source file of the library; their names differ."""
    return {name: folder for folder in FOLDERS for name in os.listdir(os.path.join(root, folder))
            if name.endswith(".cpp")}


def part_of(origin, folders):
    source = re.search(r"(\w+\.cpp)\.obj", origin)
    if source:
        return folders[source.group(1)]
    return next((part for pattern, part in OTHERS if re.search(pattern, origin)), origin)


def read_map(path, folders):
    """Bytes of each part."""
    sizes = collections.Counter()
    section = None
    with open(path, encoding="utf-8") as file:
        for line in file.read().split("\nLinker script and memory map\n")[1].splitlines():
            if line.startswith("."):
                section = line.split()[0]
            found = CONTRIBUTION.search(line)
            # The linker lists at address 0 what it has left out.
            if section in SECTIONS and line[:1] == " " and found and int(found.group(1), 16) != 0:
                sizes[part_of(found.group(3), folders)] += int(found.group(2), 16)
    return sizes


def print_sizes(sizes, total):
    print("\n| Part of the file | bytes |\n|---|---|")
    for name in [*FOLDERS, *sorted(name for name in sizes if name not in FOLDERS)]:
        print(f"| {f'`{name}`' if name in FOLDERS else name} | {sizes[name]:,} |")
    print(f"| headers, and padding to pages | {total - sum(sizes.values()):,} |")
    resources = sum(size for name, size in sizes.items() if name.startswith("resources"))
    print(f"| the file | {total:,} |")
    print(f"| the file without its resources (aim: {AIM:,}) | {total - resources:,} |")
    return 0 if total - resources <= AIM else 1


def main(words):
    if words and words[0] in ("-h", "--help"):
        print(__doc__)
        return 0
    if len(words) != 3:
        print("library_size.py: expected arguments: LIBRARY MAP FOLDER (see library_size.py --help)", file=sys.stderr)
        return 2
    library, link_map, root = words
    return print_sizes(read_map(link_map, folders_by_source(root)), os.path.getsize(library))


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
