#!/usr/bin/env python3
"""Finds the third-party code that is linked into programs, by the linker's maps.

    scripts/third_party.py notices ROOT RESULT MAP...
        writes the licences of everything that the maps name to RESULT
    scripts/third_party.py check ROOT NOTICES MAP...
        fails when these notices lack something that the maps name
    scripts/third_party.py bill ROOT RESULT.json VERSION DATE FILE=MAP...
        writes a bill of materials (SPDX 2.3) of the shipped FILEs; DATE is such as
        2026-01-31T12:00:00Z

ROOT is the project's root. The texts come from the distribution's packages that the linked
archives lie in. An archive of a package without a row in this script's table is an error.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import dataclasses
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import textwrap


class NoticeError(Exception):
    pass


@dataclasses.dataclass(frozen=True)
class Component:
    """Third-party code as its makers publish it."""

    name: str
    licence: str  # SPDX expression of the parts that are linked
    # Binary packages of the distribution whose archives belong to it, as a regular expression.
    packages: str
    # The parts of the copyright file that concern what is linked. Of a file in the
    # machine-readable form: the paragraphs with such a pattern under Files. Of any other: from
    # a line that begins so to before a line that begins so.
    files: tuple = ()
    passages: tuple = ()


COMPONENTS = (
    Component("zlib", "Zlib", r"libz-mingw-w64-dev|zlib1g-dev", files=("*",)),
    Component("minizip", "Zlib", r"minizip", files=("*",)),
    Component("GCC run-time libraries", "GPL-3.0-or-later WITH GCC-exception-3.1",
              r"g(cc|\+\+)-mingw-w64-[a-z0-9-]+",
              passages=(("GCC is Copyright", "The libbacktrace library"),
                        ("GCC RUNTIME LIBRARY EXCEPTION", "libquadmath/"))),
    Component("MinGW-w64", "ZPL-2.1 AND LicenseRef-MinGW-w64-public-domain AND MIT AND BSD-3-Clause",
              r"mingw-w64-(x86-64|i686)-dev|mingw-w64-common",
              files=("*", "mingw-w64-crt/", "mingw-w64-libraries/winpthreads/")),
    Component("LLVM run-time libraries", "Apache-2.0 WITH LLVM-exception", r"clang-19", files=("*",)),
)

# Where the sysroot for ARM64 lies, below the root, and the packages whose copyright
# files its parts have: it is built from the same sources.
SYSROOT = "build/deps/arm64"
SYSROOT_PACKAGES = ((r"lib(c\+\+|c\+\+abi|c\+\+experimental|unwind|clang_rt\..*)\.a", "clang-19"), (r"libz\.a", "zlib1g-dev"),
                    (r".*", "mingw-w64-common"))
MINIZIP = "build/deps/minizip"


@dataclasses.dataclass(frozen=True)
class Origin:
    """The package that a linked archive comes from."""

    package: str
    version: str
    copyright_file: str

    @property
    def component(self):
        for component in COMPONENTS:
            if re.fullmatch(component.packages, self.package):
                return component
        raise NoticeError(f"the package {self.package} is linked and has no row in scripts/third_party.py")


def read(path):
    with open(path, encoding="utf-8", errors="replace") as file:
        return file.read()


def output_of(*command):
    result = subprocess.run(command, capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"})
    if result.returncode != 0:
        raise NoticeError(result.stderr.strip() or f"{command[0]} failed")
    return result.stdout


def linked_files(map_path, root):
    """The archives and start-up objects of which the link took anything."""
    text = read(map_path)
    folder = os.path.dirname(os.path.abspath(map_path))
    if text.startswith("Address  Size"):
        found = linked_by_lld(text, folder, root)
    else:
        # GNU ld names each member of an archive that it takes, then why.
        found = re.findall(r"^(\S+\.a)\(", text, re.MULTILINE) + re.findall(r"^LOAD (\S+\.o)$", text, re.MULTILINE)
    if not found:
        raise NoticeError(f"{map_path} names no archive")
    return sorted({os.path.normpath(os.path.join(folder, name)) for name in found})


def in_present_sysroot(path, root):
    """A file of the sysroot by its present name, whatever the folder was when it was linked."""
    _, found, below = path.partition(f"/{SYSROOT}/")
    return os.path.join(root, SYSROOT, below) if found else path


def linked_by_lld(text, folder, root):
    """LLVM's linker names the members without their archives: every archive of the sysroot
    counts, and minizip's, that has a member of such a name."""
    names = re.findall(r"^[ \da-f]+ (\S+\.o(?:bj)?):\(", text, re.MULTILINE)
    members = {os.path.basename(name) for name in names if not os.path.isabs(name)}
    archives = [os.path.join(folder, "libminizip.a"),
                *(str(path) for path in pathlib.Path(root, SYSROOT).rglob("*.a"))]
    return [in_present_sysroot(name, root) for name in names if os.path.isabs(name)] + [
        path for path in archives if members & set(output_of("ar", "t", path).split())]


class Linked:
    """What is linked of third parties: the files of each origin."""

    def __init__(self, root, maps):
        self.root = os.path.abspath(root)
        self.files = {}
        paths = sorted({path for link_map in maps for path in linked_files(link_map, self.root)})
        installed = [path for path in paths if not self.in_tree(path)]
        packages = self.packages_of(installed)
        for path in paths:
            origin = self.origin_in_tree(path) if self.in_tree(path) else self.of_package(packages[path])
            if origin:
                origin.component  # there must be one
                self.files.setdefault(origin, []).append(path)

    def in_tree(self, path):
        return path.startswith(self.root + os.sep)

    def packages_of(self, paths):
        packages = dict.fromkeys(paths)
        for line in output_of("dpkg", "--search", *paths).splitlines() if paths else []:
            package, _, path = line.partition(": ")
            packages[path] = package.partition(":")[0]
        return packages

    def of_package(self, package, at=None):
        copyright_file = at or f"/usr/share/doc/{package}/copyright"
        version = output_of("dpkg-query", "--show", "--showformat", "${Version}", package)
        return Origin(package, version, copyright_file)

    def origin_in_tree(self, path):
        """None for what is built from the project's own sources."""
        below = os.path.relpath(path, self.root)
        if below.startswith(SYSROOT + "/"):
            name = os.path.basename(path)
            return self.of_package(next(package for pattern, package in SYSROOT_PACKAGES if re.fullmatch(pattern, name)))
        if os.path.basename(path) == "libminizip.a":
            debian = os.path.join(self.root, MINIZIP, "debian")
            version = re.match(r"\S+ \((\S+)\)", read(os.path.join(debian, "changelog"))).group(1)
            return Origin("minizip", version, os.path.join(debian, "copyright"))
        return None

    def by_component(self):
        """(component, origins), in the order of the table."""
        for component in COMPONENTS:
            origins = sorted((origin for origin in self.files if origin.component is component),
                             key=lambda origin: origin.package)
            if origins:
                yield component, origins

    def files_of(self, origins):
        return sorted(path for origin in origins for path in self.files[origin])


# The texts.

def field(paragraph, name):
    found = re.search(rf"^{name}:(.*(?:\n[ \t].*)*)", paragraph, re.MULTILINE)
    return found.group(1) if found else ""


def machine_readable(text, patterns):
    """The paragraphs for these files, and the licences that they name."""
    paragraphs = re.split(r"\n\s*\n", text)
    chosen = [paragraph for paragraph in paragraphs if any(
        name == pattern or pattern != "*" and name.startswith(pattern)
        for name in field(paragraph, "Files").split() for pattern in patterns)]
    names = {word for paragraph in chosen for word in field(paragraph, "License").split("\n")[0].split()}
    licences = [paragraph for paragraph in paragraphs
                if paragraph.startswith("License:") and field(paragraph, "License").split("\n")[0].strip() in names]
    if not chosen:
        raise NoticeError(f"a copyright file says nothing of {' '.join(patterns)}")
    return "\n\n".join([*chosen, *licences])


def passage(text, first, behind):
    found = re.search(rf"^{re.escape(first)}.*?(?=^{re.escape(behind)})", text, re.MULTILINE | re.DOTALL)
    if not found:
        raise NoticeError(f'a copyright file has no passage that begins with "{first}"')
    return found.group().strip()


def licence_text(component, origin):
    text = read(origin.copyright_file)
    if component.files:
        return machine_readable(text, component.files)
    return "\n\n".join(passage(text, *limits) for limits in component.passages)


def upstream(version):
    """A package's version without what the distribution adds."""
    return re.sub(r"^\d+:|(\.dfsg|[-+]).*", "", version)


def notices(linked):
    parts = ["Third-party notices", "",
             *textwrap.wrap("The library and the programs beside it contain code of the following projects, linked in "
                            "as the distribution's packages have it. Their licences follow.", 90), ""]
    rows = list(linked.by_component())
    for component, origins in rows:
        parts.append(f"  {component.name} {upstream(origins[0].version)} ({component.licence})")
    for component, origins in rows:
        title = f"{component.name} {upstream(origins[0].version)}"
        parts += ["", "", "=" * 90, title, "=" * 90, ""]
        texts = dict.fromkeys(licence_text(component, origin) for origin in origins)
        parts.append("\n\n".join(texts))
    return "\n".join(line.rstrip() for line in "\n".join(parts).splitlines()) + "\n"


def write_notices(root, result, maps):
    text = notices(Linked(root, maps))
    if not os.path.exists(result) or read(result) != text:
        with open(result, "w", encoding="utf-8", newline="\n") as file:
            file.write(text)


def check_notices(root, path, maps):
    text = read(path)
    for component, origins in Linked(root, maps).by_component():
        if f"  {component.name} {upstream(origins[0].version)} (" not in text:
            raise NoticeError(f"{path} does not name {component.name} {upstream(origins[0].version)}")


# The bill of materials.

def digest(path, algorithm):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, algorithm).hexdigest()


def identifier(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]+", "-", name).strip("-")


def spdx_file(kind, path, name):
    return {"SPDXID": identifier(kind, name), "fileName": "./" + name, "copyrightText": "NOASSERTION",
            "licenseConcluded": "NOASSERTION", "licenseInfoInFiles": ["NOASSERTION"],
            "checksums": [{"algorithm": algorithm, "checksumValue": digest(path, algorithm.lower())}
                          for algorithm in ("SHA1", "SHA256")]}


def relationship(one, kind, other):
    return {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}


def with_files(package, files):
    """The package, analysed: its verification code is made as SPDX asks, of the files' SHA-1."""
    sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return {**package, "filesAnalyzed": True, "licenseInfoFromFiles": ["NOASSERTION"],
            "packageVerificationCode": {"packageVerificationCodeValue": hashlib.sha1("".join(sums).encode()).hexdigest()},
            "hasFiles": [file["SPDXID"] for file in files]}


def third_party_package(component, origins, paths, shown):
    version = upstream(origins[0].version)
    package = {"SPDXID": identifier("Package", component.name), "name": component.name, "versionInfo": version,
               "supplier": "Organization: Debian", "downloadLocation": "NOASSERTION",
               "licenseConcluded": component.licence, "licenseDeclared": component.licence,
               "copyrightText": "NOASSERTION",
               "comment": "From the packages " + ", ".join(f"{origin.package} {origin.version}" for origin in origins)}
    files = [spdx_file("Archive", path, shown(path)) for path in paths]
    return with_files(package, files), files


def bill(root, version, date, shipped):
    linked = Linked(root, sorted({link_map for _, link_map in shipped}))
    shown = lambda path: os.path.relpath(path, linked.root if linked.in_tree(path) else "/")  # noqa: E731
    files = [spdx_file("Shipped", path, os.path.join(os.path.basename(os.path.dirname(path)), os.path.basename(path)))
             for path, _ in shipped]
    product = with_files({
        "SPDXID": "SPDXRef-Product", "name": "Nimbrel Veskard Agent Explorer Extension", "versionInfo": version,
        "supplier": "Organization: Nimbrel", "downloadLocation": "NOASSERTION", "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NONE", "copyrightText": "NOASSERTION"}, files)
    packages, relations = [product], [relationship("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-Product")]
    of_map = {link_map: Linked(root, [link_map]) for _, link_map in shipped}
    for component, origins in linked.by_component():
        package, archives = third_party_package(component, origins, linked.files_of(origins), shown)
        packages.append(package)
        files += archives
        for (_, link_map), file in zip(shipped, product["hasFiles"]):
            if any(other is component for other, _ in of_map[link_map].by_component()):
                relations.append(relationship(file, "STATIC_LINK", package["SPDXID"]))
    content = "".join(file["checksums"][1]["checksumValue"] for file in files)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"VeskardShellExt-{version}",
            "documentNamespace": f"urn:sha256:{hashlib.sha256(content.encode()).hexdigest()}",
            "creationInfo": {"created": date, "creators": ["Tool: scripts/third_party.py"]},
            "packages": packages, "files": files, "relationships": relations,
            "hasExtractedLicensingInfos": [{
                "licenseId": "LicenseRef-MinGW-w64-public-domain",
                "name": "Public domain, as MinGW-w64 declares it",
                "extractedText": "This file has no copyright assigned and is placed in the Public Domain."}]}


def write_bill(root, result, version, date, *shipped):
    pairs = [tuple(map(os.path.abspath, pair.split("=", 1))) for pair in shipped]
    with open(result, "w", encoding="utf-8", newline="\n") as file:
        json.dump(bill(root, version, date, pairs), file, indent=2)
        file.write("\n")


COMMANDS = {"notices": (3, lambda root, result, *maps: write_notices(root, result, maps)),
            "check": (3, lambda root, path, *maps: check_notices(root, path, maps)),
            "bill": (5, write_bill)}


def main(words):
    if words[:1] in (["-h"], ["--help"]):
        print(__doc__)
        return 0
    least, command = COMMANDS.get(words[0] if words else "", (0, None))
    if command is None or len(words) <= least:
        print("third_party.py: expected one of notices, check and bill with its arguments "
              "(see third_party.py --help)", file=sys.stderr)
        return 2
    try:
        command(*words[1:])
    except (NoticeError, OSError) as error:
        print(f"third_party.py: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
