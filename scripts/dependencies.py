#!/usr/bin/env python3
"""Looks at the folders' dependencies, as the sources' #include lines have them.

    scripts/dependencies.py check FOLDER    FOLDER is the project's root
    scripts/dependencies.py draw FOLDER     needs graphviz

"check" prints a line for each include that points the wrong way, for each file
that is not there, for each cycle of files, and when the committed list or picture
(docs/pictures/dependencies.txt, .svg) shows something else than the sources.
"draw" makes both anew.

Exit codes: 0 done, nothing found; 1 findings; 2 wrong command line.
"""

import html
import os
import re
import subprocess
import sys

# The library's folders, the lowest first: each may use what stands before it.
LIBRARY = ["core", "util/string", "benc", "fs/util", "lang", "shellext/module", "shellext/contextmenu/marks",
           "shellext/bitmaps", "shellext/icons", "shellext/contextmenu", "shellext"]

# What stands above the library, and what each may use beside itself. The stand-in for
# the agent shares no code with the extension: two readers of one format.
ABOVE = {
    "tools/common": ["core"],
    "tools/marks": ["core", "util/string", "benc", "tools/common"],
    "tools/standin_agent": ["core", "util/string", "benc", "tools/common", "tools/marks"],
    "tools/shellprobe": [*LIBRARY, "tools/common"],
    "tools/contactsheet": ["core", "tools/common", "tools/marks", "tools/shellprobe"],
}
TOOLS = list(ABOVE)
ABOVE |= {"tests": [*LIBRARY, *TOOLS], "bench": [*LIBRARY, *TOOLS, "tests"], "fuzz": [*LIBRARY, "tests"]}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
SOURCES = (".h", ".cpp")
LIST = "docs/pictures/dependencies.txt"
PICTURE = "docs/pictures/dependencies.svg"
LIST_TITLE = "# Which folder uses which; made by scripts/dependencies.py draw\n"


def folder_of(path):
    """The folder that a file counts to: the longest known one above it; None without."""
    known = [name for name in [*LIBRARY, *ABOVE] if path.startswith(name + "/")]
    return max(known, key=len, default=None)


def read_includes(root):
    """What each source file of the known folders includes of the project."""
    includes = {}
    for top in sorted({name.split("/")[0] for name in [*LIBRARY, *ABOVE]}):
        for folder, _, files in os.walk(os.path.join(root, top)):
            for name in sorted(file for file in files if file.endswith(SOURCES)):
                path = os.path.relpath(os.path.join(folder, name), root).replace(os.sep, "/")
                with open(os.path.join(root, path), encoding="utf-8") as file:
                    includes[path] = INCLUDE.findall(file.read())
    return includes


def allowed(folder):
    if folder in ABOVE:
        return {folder, *ABOVE[folder]}
    return set(LIBRARY[:LIBRARY.index(folder) + 1])


def check_directions(includes):
    for path, targets in includes.items():
        folder = folder_of(path)
        if folder is None:
            yield f"{path}: lies in no known folder"
            continue
        for target in targets:
            if target not in includes:
                yield f"{path}: includes {target}, which is not there"
            elif folder_of(target) not in allowed(folder):
                yield f"{path}: {folder} may not use {target}"


def check_cycles(includes):
    """One finding for each cycle, told by its files in turn."""
    done, findings = set(), []

    def visit(path, way):
        if path in way:
            findings.append("include cycle: " + " -> ".join([*way[way.index(path):], path]))
        elif path not in done and path in includes:
            for target in includes[path]:
                visit(target, [*way, path])
            done.add(path)

    for path in includes:
        visit(path, [])
    return findings


def find_edges(includes):
    pairs = {(folder_of(path), folder_of(target)) for path, targets in includes.items() for target in targets}
    return sorted((user, used) for user, used in pairs if user != used and user and used)


def reduced(edges):
    """Without the edges that a longer way says as well."""
    users = {user: {used for other, used in edges if other == user} for user, _ in edges}

    def reaches(start, end):
        return any(step == end or reaches(step, end) for step in users.get(start, ()))

    return [(user, used) for user, used in edges
            if not any(reaches(step, used) for step in users[user] if step != used)]


def as_text(edges):
    return LIST_TITLE + "".join(f"{user} -> {used}\n" for user, used in edges)


def as_dot(edges):
    lines = ['digraph {', 'rankdir=TB; bgcolor="white"; nodesep=0.35; ranksep=0.4;',
             'node [shape=box, style="filled,rounded", fillcolor="#eaf1fb", color="#5b7aa8", fontname="DejaVu Sans",'
             ' fontsize=12, margin="0.16,0.09"];', 'edge [color="#5c6773", arrowsize=0.7];']
    above = {name for edge in edges for name in edge if name in ABOVE}
    lines += [f'"{name}" [fillcolor="#f4f4f1", color="#8d8d86"];' for name in sorted(above)]
    lines += [f'"{user}" -> "{used}";' for user, used in reduced(edges)]
    return "\n".join([*lines, "}"])


def pictured_edges(svg):
    titles = [html.unescape(title) for title in re.findall(r"<title>([^<]*)</title>", svg)]
    return sorted(tuple(title.split("->")) for title in titles if "->" in title)


def read(path):
    if not os.path.exists(path):
        return ""
    with open(path, encoding="utf-8") as file:
        return file.read()


def check_committed(root, edges):
    if read(os.path.join(root, LIST)) != as_text(edges):
        yield f"{LIST}: is out of date: run scripts/dependencies.py draw ."
    if pictured_edges(read(os.path.join(root, PICTURE))) != sorted(reduced(edges)):
        yield f"{PICTURE}: is out of date: run scripts/dependencies.py draw ."


def check(root):
    includes = read_includes(root)
    findings = [*check_directions(includes), *check_cycles(includes)]
    # A picture is of sources that are in order.
    findings += [] if findings else check_committed(root, find_edges(includes))
    for finding in findings:
        print(finding)
    return 1 if findings else 0


def draw(root):
    edges = find_edges(read_includes(root))
    svg = subprocess.run(["dot", "-Tsvg"], input=as_dot(edges), capture_output=True, text=True, check=True).stdout
    with open(os.path.join(root, LIST), "w", encoding="utf-8") as file:
        file.write(as_text(edges))
    with open(os.path.join(root, PICTURE), "w", encoding="utf-8") as file:
        # Neither the program's version nor its remarks: they differ between machines.
        file.write(re.sub(r"<!--.*?-->\n?", "", svg, flags=re.DOTALL))
    return 0


def main(words):
    if words and words[0] in ("-h", "--help"):
        print(__doc__)
        return 0
    actions = {"check": check, "draw": draw}
    if len(words) != 2 or words[0] not in actions:
        print("dependencies.py: check or draw, and which folder? (see dependencies.py --help)", file=sys.stderr)
        return 2
    return actions[words[0]](words[1])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
