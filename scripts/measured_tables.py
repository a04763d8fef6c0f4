#!/usr/bin/env python3
"""Puts the tables of the last measurements into documentation pages: measured_tables.py FOLDER PAGE...

A page holds each table between the lines <!-- measured NAME --> and <!-- end NAME -->. The
tables come from FOLDER/NAME.md, where the scripts that measure leave them (build/measured).
A table without a file in FOLDER stays.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import os
import re
import sys

BLOCK = re.compile(r"^<!-- measured ([\w-]+) -->\n.*?^<!-- end \1 -->\n", re.MULTILINE | re.DOTALL)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def replaced(text, folder):
    """The page's text with the tables of the folder, and the names of these tables."""
    names = []

    def block(match):
        name = match.group(1)
        path = os.path.join(folder, name + ".md")
        if not os.path.exists(path):
            return match.group(0)
        names.append(name)
        return f"<!-- measured {name} -->\n\n{read(path).strip()}\n\n<!-- end {name} -->\n"

    return BLOCK.sub(block, text), names


def main(words):
    if words[:1] in (["-h"], ["--help"]):
        print(__doc__)
        return 0
    if len(words) < 2:
        print("measured_tables.py: expected arguments: FOLDER PAGE... (see measured_tables.py --help)", file=sys.stderr)
        return 2
    try:
        for page in words[1:]:
            text, names = replaced(read(page), words[0])
            with open(page, "w", encoding="utf-8", newline="\n") as file:
                file.write(text)
            print(f"{page}: {', '.join(names) or 'nothing measured'}")
    except OSError as error:
        print(f"measured_tables.py: {error.filename}: {error.strerror}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
