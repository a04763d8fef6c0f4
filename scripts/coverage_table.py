#!/usr/bin/env python3
"""Prints gcovr's summary as one row of lines and branches for each folder, and fails when
all of them together stay below the aim: coverage_table.py SUMMARY.json

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""
import collections
import json
import os
import sys

AIMS = {"line": 95, "branch": 85}  # percent
KINDS = ("line_covered", "line_total", "branch_covered", "branch_total")


def main():
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        return
    if len(sys.argv) != 2:
        print("coverage_table.py: which summary? (see coverage_table.py --help)", file=sys.stderr)
        sys.exit(2)
    with open(sys.argv[1], encoding="utf-8") as file:
        files = json.load(file)["files"]
    folders = collections.defaultdict(collections.Counter)
    for entry in files:
        counts = {kind: entry[kind] for kind in KINDS}
        folders[os.path.dirname(entry["filename"]) + "/"].update(counts)
        folders["in all"].update(counts)
    print(f"{'folder':24}{'lines':>18}{'branches':>20}")
    for name, counts in sorted(folders.items(), key=lambda item: (item[0] == "in all", item[0])):
        print(f"{name:24}{share(counts, 'line')}{share(counts, 'branch'):>20}")
    missed = [f"fewer than {aim} % of the {kind}{'es' if kind == 'branch' else 's'}"
              for kind, aim in AIMS.items() if percent_of(folders["in all"], kind) < aim]
    if missed:
        sys.exit(f"error: the tests reach {' and '.join(missed)}")


def percent_of(counts, kind):
    total = counts[kind + "_total"]
    return 100 * counts[kind + "_covered"] / total if total else 0


def share(counts, kind):
    total = counts[kind + "_total"]
    percent = f"{percent_of(counts, kind):.1f} %" if total else "-"
    return f"{percent:>8} of {total:>6}"


if __name__ == "__main__":
    main()
