#!/usr/bin/env python3
"""Prints the instructions that callgrind has counted as a Markdown table, one row for each
step that a program has named, in the order of the steps: instructions_table.py OUTPUT...

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""
import re
import sys


def main():
    files = sys.argv[1:]
    if files[:1] in (["-h"], ["--help"]):
        print(__doc__)
        return
    if not files:
        print("instructions_table.py: expected arguments: OUTPUT... (see instructions_table.py --help)",
              file=sys.stderr)
        sys.exit(2)
    try:
        rows = [read(name) for name in sorted(files, key=number)]
    except OSError as error:
        print(f"instructions_table.py: {error.filename}: {error.strerror}", file=sys.stderr)
        sys.exit(1)
    steps = [row for row in rows if row]
    if not steps:
        print("instructions_table.py: no step was counted", file=sys.stderr)
        sys.exit(1)
    print("| Step | instructions |\n|---|---|")
    for name, instructions in steps:
        print(f"| {name} | {instructions:,} |")


def number(name):
    """callgrind numbers its outputs: NAME.PROCESS.1, NAME.PROCESS.2 ..."""
    return [int(part) for part in re.findall(r"\d+", name)]


def read(name):
    """The step's name and its instructions; None for an output without a step."""
    with open(name, encoding="utf-8", errors="replace") as file:
        text = file.read()
    step = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
    total = re.search(r"^totals: (\d+)$", text, re.MULTILINE)
    return (step[1], int(total[1])) if step and total else None


if __name__ == "__main__":
    main()
