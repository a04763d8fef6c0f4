#!/usr/bin/env python3
"""Makes the installation package: make_msi.py ARCHITECTURE RESULT.msi NAME=FILE...

ARCHITECTURE is x64 or arm64. All of these names are needed: those of FILES in tables.py,
each with the file to install; Icon, the picture in the list of installed programs; Steps,
the library of the package's own steps (tools/installer_steps/). The package's version is
that of the library's version resource. The same files always give the same bytes. Needs
msibuild and gcab.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import hashlib
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import uuid

import identity
from schema import columns
from tables import ARCHITECTURES, FILES, ICON, MACHINE_OF_32_BITS, NAMESPACE, STEPS, TABLES, VITAL
from version_resource import file_version

# The date of everything inside: a package has a version and no time of its making.
DATE = "2020/01/01 00:00:00"
DATE_SECONDS = 1577836800


class PackageError(Exception):
    pass


def machine(contents):
    """For which machine a program is: the number in its header."""
    header, = struct.unpack_from("<I", contents, 0x3C)
    return struct.unpack_from("<H", contents, header + 4)[0]


def check_machines(architecture, paths):
    wanted = {name: ARCHITECTURES[architecture][0] for name in ("Library", "Probe", "Command", "Steps")}
    wanted["Library32"] = MACHINE_OF_32_BITS
    for name, number in wanted.items():
        if machine(read_file(paths[name])) != number:
            raise PackageError(f"{paths[name]} is not the {name} of a package for {architecture}")


def derived_code(text):
    """A code that is always the same for the same text."""
    return "{" + str(uuid.uuid5(uuid.UUID(NAMESPACE), text)).upper() + "}"


def file_rows(files):
    """The rows of File, and of MsiFileHash for files that bear no version: the
    engine compares either to tell whether a file must be replaced."""
    rows, hashes = [], []
    for sequence, (name, contents) in enumerate(files.items(), 1):
        _, short_name, long_name, _ = FILES[name]
        version = file_version(contents)
        rows.append((name, name, f"{short_name}|{long_name}", len(contents),
                     ".".join(map(str, version)) if version else "", "1033" if version else "", VITAL, sequence))
        if not version:
            hashes.append((name, 0, *struct.unpack("<4i", hashlib.md5(contents).digest())))
    return rows, hashes


def values_of(architecture, version):
    _, platform, engine = ARCHITECTURES[architecture]
    text = ".".join(map(str, version))
    return {
        "@VERSION@": text,
        "@SHORT_VERSION@": "V" + text.replace(".", "_"),
        "@PRODUCT_CODE@": derived_code(f"product {architecture} {text}"),
        **{f"@{name.upper()}_COMPONENT@": derived_code(f"{name.lower()} {text}") for name in FILES},
        "@IDENTITY@": identity.NAME,
        "@DATE@": DATE,
        "@PLATFORM@": platform,
        "@ENGINE@": str(engine),
    }


def idt(table, rows, values):
    """A table as the text that msibuild imports."""
    titles, kinds, key_count = columns(table)
    lines = ["\t".join(titles), "\t".join(kinds), "\t".join([table, *titles[:key_count]])]
    for row in rows:
        if len(row) != len(titles):
            raise PackageError(f"{table}: {row} has {len(row)} columns instead of {len(titles)}")
        line = "\t".join(map(str, row))
        for name, value in values.items():
            line = line.replace(name, value)
        lines.append(line)
    return "".join(line + "\r\n" for line in lines)


def package_code(tables, values, contents):
    """Two packages that differ in anything have different codes."""
    digest = hashlib.sha256()
    for table, rows in tables.items():
        digest.update(idt(table, rows, values).encode())
    for content in contents:
        digest.update(hashlib.sha256(content).digest())
    return derived_code("package " + digest.hexdigest())


def run(folder, *command):
    result = subprocess.run(command, cwd=folder, capture_output=True, text=True, env={**os.environ, "TZ": "UTC"})
    # msibuild reports some errors and ends with 0.
    if result.returncode != 0 or result.stderr.strip():
        raise PackageError(f"{command[0]} failed: {result.stderr.strip() or result.returncode}")


def write_file(folder, name, contents):
    path = os.path.join(folder, name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(contents)
    os.chmod(path, 0o644)
    os.utime(path, (DATE_SECONDS, DATE_SECONDS))
    return path


def read_file(path):
    with open(path, "rb") as file:
        return file.read()


def make(architecture, result, paths):
    files = {name: read_file(paths[name]) for name in FILES}
    # A stream is read from the folder that bears its table's name, below the current one.
    streams = {"Icon/" + ICON: read_file(paths["Icon"]), "Binary/" + STEPS: read_file(paths["Steps"])}
    version = file_version(files["Library"])
    if version is None:
        raise PackageError(f"{paths['Library']} has no version resource")
    check_machines(architecture, paths)
    tables = dict(TABLES)
    tables["File"], tables["MsiFileHash"] = file_rows(files)
    values = values_of(architecture, version[:3])
    values["@PACKAGE_CODE@"] = package_code(tables, values, [*files.values(), *streams.values()])

    with tempfile.TemporaryDirectory() as folder:
        members = [write_file(folder, name, contents) for name, contents in files.items()]
        cabinet = os.path.join(folder, "files.cab")
        run(folder, "gcab", "--create", "--zip", "--nopath", cabinet, *members)
        for name, contents in streams.items():
            write_file(folder, name, contents)
        database = os.path.join(folder, "package.msi")
        command = ["msibuild", database]
        for table, rows in tables.items():
            command += ["-i", write_file(folder, table + ".idt", idt(table, rows, values).encode("cp1252"))]
        run(folder, *command, "-a", "files.cab", cabinet)
        shutil.copyfile(database, result)


def wrong_usage(message):
    print(f"make_msi.py: {message} (see make_msi.py --help)", file=sys.stderr)
    sys.exit(2)


def arguments(words):
    if len(words) < 2 or words[0] not in ARCHITECTURES:
        wrong_usage("an architecture and RESULT.msi are needed")
    paths = dict(word.split("=", 1) for word in words[2:] if "=" in word)
    wrong = {*FILES, "Icon", "Steps"} ^ set(paths)
    if wrong or len(paths) != len(words) - 2:
        wrong_usage("each file is needed once by its name: " + ", ".join(sorted(wrong)))
    return words[0], words[1], paths


if __name__ == "__main__":
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        sys.exit(0)
    architecture, result, paths = arguments(sys.argv[1:])
    try:
        make(architecture, result, paths)
    except (OSError, PackageError) as error:
        sys.exit(f"make_msi.py: {error}")
