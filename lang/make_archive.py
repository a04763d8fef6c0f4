#!/usr/bin/env python3
"""Packs the language archive: make_archive.py FOLDER VERSION ZIP

The members are "version", "english.txt" and every "NAME!CODE.txt" of the
folder, in this order. The same files always give the same bytes: names are
sorted, and all members have the same date and nothing of the machine.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import os
import sys
import zipfile

EARLIEST_DATE = (1980, 1, 1, 0, 0, 0)
MADE_BY_DOS = 0


def member_names(folder):
    languages = sorted(
        name for name in os.listdir(folder)
        if "!" in name and name.endswith(".txt") and not name.endswith(".glossary.txt"))
    return ["english.txt"] + languages


def add_member(archive, name, contents):
    info = zipfile.ZipInfo(name, EARLIEST_DATE)
    info.compress_type = zipfile.ZIP_DEFLATED
    info.create_system = MADE_BY_DOS
    archive.writestr(info, contents, compresslevel=9)


def main(folder, version, path):
    with zipfile.ZipFile(path, "w") as archive:
        add_member(archive, "version", version + "\n")
        for name in member_names(folder):
            with open(os.path.join(folder, name), "rb") as file:
                add_member(archive, name, file.read())


if __name__ == "__main__":
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        sys.exit(0)
    if len(sys.argv) != 4:
        print("make_archive.py: expected arguments: FOLDER VERSION ZIP (see make_archive.py --help)", file=sys.stderr)
        sys.exit(2)
    main(*sys.argv[1:])
