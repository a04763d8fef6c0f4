#!/usr/bin/env python3
"""Checks and draws the folders' dependencies, by the #include lines and the links.

    scripts/dependencies.py check FOLDER [LINKS]    FOLDER is the project's root
    scripts/dependencies.py draw FOLDER             needs graphviz
    scripts/dependencies.py folders                 the top folders of the library, in one line

"check" prints a line for each include that points the wrong way, for each file
that is not there, for each circle of units (a header and its source) that is not
named below, and when the committed list or picture (docs/pictures/dependencies.txt,
.svg) differs from the sources.

LINKS is link_graph.txt of a build folder (cmake/LinkGraph.cmake). With it "check"
also prints a line for each link that points the wrong way, for each library of ours
that links another one and includes nothing of it, and for each folder of the library
that includes files of a folder and does not link it. "draw" makes list and picture
anew.

Exit codes: 0 done, nothing found; 1 findings; 2 wrong command line.
"""

import html
import os
import re
import subprocess
import sys

# The library's folders, the lowest first: each may use what stands before it.
CORE = ["core", "core/runtime"]
LIBRARY = [*CORE, "util/string", "benc", "fs/util", "lang", "shellext/module", "shellext/contextmenu/marks",
           "shellext/bitmaps", "shellext/icons", "shellext/contextmenu", "shellext", "shellext/explorercommand"]

# What stands above the library, and what each may use beside itself. The stand-in for
# the agent shares no code with the extension: two readers of one format.
ABOVE = {
    "tools/common": CORE,
    "tools/marks": [*CORE, "util/string", "benc", "tools/common"],
    "tools/standin_agent": [*CORE, "util/string", "benc", "tools/common", "tools/marks"],
    "tools/shellprobe": [*LIBRARY, "tools/common"],
    "tools/installer_steps": [*CORE, "tools/common"],
    "tools/contactsheet": [*CORE, "tools/common", "tools/marks", "tools/shellprobe"],
}
TOOLS = list(ABOVE)
LIBRARY_TOPS = list(dict.fromkeys(name.split("/")[0] for name in LIBRARY))
ABOVE |= {"tests": [*LIBRARY, *TOOLS], "bench": [*LIBRARY, *TOOLS, "tests"], "fuzz": [*LIBRARY, "tests"]}

# Circles of units that stay, and why. Every other one is a finding, and so is one that
# is named here and does not exist.
CIRCLES = {
    ("benc/BencBuilder", "benc/BencDemolition", "benc/BencPayload", "benc/BencTree", "benc/BencValue",
     "benc/BencWalk"): "a value owns a tree of values; copying and destroying walk through it",
    ("fs/util/FileHandle", "fs/util/StreamHandle"): "a file is copied from a stream, and a stream from a file",
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)
SOURCES = (".h", ".cpp", ".h.in")  # from the last one the build makes a header of that name
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
                    includes[path.removesuffix(".in")] = INCLUDE.findall(file.read())
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


def unit_of(path):
    """A header and its source are one unit: neither can do without the other."""
    return os.path.splitext(path)[0]


def find_circles(includes):
    """The sets of units that reach each other, each as a sorted tuple."""
    used = {}
    for path, targets in includes.items():
        unit = unit_of(path)
        used.setdefault(unit, set()).update(unit_of(target) for target in targets if unit_of(target) != unit)

    def reached_from(unit):
        reached, waiting = set(), [unit]
        while waiting:
            for step in used.get(waiting.pop(), ()):
                if step not in reached:
                    reached.add(step)
                    waiting.append(step)
        return reached

    reached = {unit: reached_from(unit) for unit in used}
    return sorted({tuple(sorted(other for other in reached[unit] if unit in reached.get(other, ())))
                   for unit in used if unit in reached[unit]})


def check_circles(includes):
    circles = find_circles(includes)
    for circle in circles:
        if circle not in CIRCLES:
            yield "units in a circle: " + ", ".join(circle)
    for circle in CIRCLES:
        if circle not in circles and any(unit_of(path) in circle for path in includes):
            yield "scripts/dependencies.py: names a circle that is gone: " + ", ".join(circle)


class LinkGraph:
    """What a build folder's link_graph.txt says."""

    def __init__(self, path):
        self.folders = {}  # by target: the known folders that its sources lie in; its own folder without sources
        self.code = set()  # the targets with sources in known folders
        self.links = []    # pairs of targets: user and used
        for kind, name, *words in (line.split() for line in read(path).splitlines()):
            if kind == "link":
                self.links.append((name, words[0]))
                continue
            self.folders[name] = {folder_of(folder + "/") for folder in words[1:]} - {None}
            if words[0] == "code" and self.folders[name]:
                self.code.add(name)

    def library_targets(self):
        return {name for name in self.code if self.folders[name] <= set(LIBRARY)}

    def reached_from(self, target):
        """What a target links, also through others, and itself."""
        reached, waiting = {target}, [target]
        while waiting:
            user = waiting.pop()
            steps = {used for other, used in self.links if other == user} - reached
            reached |= steps
            waiting += steps
        return reached


def check_links(graph, edges):
    """What is no code (compiler flags, resources) may be linked from everywhere, and so
    may a target with sources of the same folder."""
    library = graph.library_targets()
    for user, used in graph.links:
        above, below = graph.folders[user], graph.folders[used]
        if used not in graph.code or above & below:
            continue
        if not below <= set().union(*(allowed(folder) for folder in above)):
            yield f"{user}: may not link {used}"
        elif {user, used} <= library and not any((folder, other) in edges for folder in above for other in below):
            yield f"{user}: links {used} and includes nothing of it"
    reached = {user: graph.reached_from(user) for user in library}
    for user_folder, used_folder in edges:
        users = [user for user in library if user_folder in graph.folders[user]]
        if users and not any(used_folder in graph.folders[used] for user in users for used in reached[user] & library):
            yield f"{user_folder}: includes files of {used_folder} and links nothing of it"


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


def check(root, links=None):
    includes = read_includes(root)
    findings = [*check_directions(includes), *check_circles(includes)]
    if links is not None:
        findings += check_links(LinkGraph(links), find_edges(includes))
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
    if words == ["folders"]:
        print(*LIBRARY_TOPS)
        return 0
    actions = {("check", 1): check, ("check", 2): check, ("draw", 1): draw}
    action = actions.get((words[0], len(words) - 1)) if words else None
    if action is None:
        print("dependencies.py: expected check FOLDER [LINKS] or draw FOLDER (see dependencies.py --help)",
              file=sys.stderr)
        return 2
    return action(*words[1:])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
