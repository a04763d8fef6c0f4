#!/usr/bin/env python3
"""Makes the identity package: make_msix.py LIBRARY SOURCES PICTURE.svg RESULT.msix

LIBRARY is VeskardExplorerCommand.dll, whose version becomes the package's. SOURCES is the
folder of the source that forms class identifiers. PICTURE is the source of the logos. The
package is unsigned. Its Publisher is the subject of the certificate that
VESKARD_SIGN_CERTIFICATE names (see scripts/sign.sh), or else a name for development. The
same files always give the same bytes. Needs rsvg-convert, and openssl for a certificate.

Exit codes: 0 done; 1 failed; 2 wrong command line.
"""

import base64
import hashlib
import os
import re
import struct
import subprocess
import sys
import zlib
from xml.sax.saxutils import escape, quoteattr

import identity
from publisher import CertificateError, signing_publisher
from version_resource import file_version

BLOCK = 64 * 1024

# The date of everything inside, as ZIP writes it: 1 January 2020, midnight.
ZIP_TIME, ZIP_DATE = 0, (2020 - 1980) << 9 | 1 << 5 | 1
ZIP_VERSION = 20
STORED, DEFLATED = 0, 8


class PackageError(Exception):
    pass


def read_file(path):
    with open(path, "rb") as file:
        return file.read()


def blocks(contents):
    return [contents[start:start + BLOCK] for start in range(0, len(contents), BLOCK)]


def deflate(contents):
    """The compressed bytes of each block, which can be unpacked by itself, and of the
    mark of the end that follows the last one."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -zlib.MAX_WBITS)
    packed = [packer.compress(block) + packer.flush(zlib.Z_FULL_FLUSH) for block in blocks(contents)]
    return packed, packer.flush()


class Member:
    """A file of the package. Pictures are compressed already, and stored as they are."""

    def __init__(self, name, contents):
        self.name, self.contents = name, contents
        self.block_sizes = None
        self.data = contents
        if not name.endswith(".png"):
            packed, end = deflate(contents)
            self.block_sizes = [len(block) for block in packed]
            self.data = b"".join(packed) + end

    def fields(self):
        """What the file's two headers have in common."""
        method = DEFLATED if self.block_sizes else STORED
        return struct.pack("<5H3I2H", ZIP_VERSION, 0, method, ZIP_TIME, ZIP_DATE, zlib.crc32(self.contents),
                           len(self.data), len(self.contents), len(self.name), 0)

    def local_header(self):
        return b"PK\3\4" + self.fields() + self.name.encode()

    def directory_entry(self, offset):
        more = struct.pack("<3H2I", 0, 0, 0, 0, offset)
        return b"PK\1\2" + struct.pack("<H", ZIP_VERSION) + self.fields() + more + self.name.encode()

    def block_map_entry(self):
        sizes = self.block_sizes or [None] * len(blocks(self.contents))
        lines = []
        for block, size in zip(blocks(self.contents), sizes):
            digest = base64.b64encode(hashlib.sha256(block).digest()).decode()
            packed_size = "" if size is None else f' Size="{size}"'
            lines.append(f'<Block Hash="{digest}"{packed_size}/>')
        name = quoteattr(self.name.replace("/", "\\"))
        return (f'<File Name={name} Size="{len(self.contents)}" LfhSize="{len(self.local_header())}">'
                + "".join(lines) + "</File>")


def block_map(members):
    return ('<?xml version="1.0" encoding="utf-8"?>\n'
            f'<BlockMap xmlns="{identity.BLOCK_MAP_NAMESPACE}" HashMethod="{identity.BLOCK_HASH_METHOD}">'
            + "".join(member.block_map_entry() for member in members) + "</BlockMap>\n").encode()


def archive(members):
    files, directory = b"", b""
    for member in members:
        directory += member.directory_entry(len(files))
        files += member.local_header() + member.data
    end = struct.pack("<4H2IH", 0, 0, len(members), len(members), len(directory), len(files), 0)
    return files + directory + b"PK\5\6" + end


def class_id(sources, version):
    """The identifier of the command's class, from the template and the index in the sources, without braces."""
    text = "".join(read_file(os.path.join(sources, name)).decode() for name in ("ClassIds.h", "ClassIds.cpp"))
    template = re.search(r'kTemplate\[\] = L"\{(.*)\}"', text)
    index = re.search(r"\bkExplorerCommandClass = (\d+)", text)
    if not template or not index:
        raise PackageError(f"{sources} does not say how the command's class identifier is formed")
    return template[1] % (int(index[1]), *version)


def manifest(version, class_identifier, publisher_name):
    namespaces = " ".join(f'xmlns:{prefix}="@NAMESPACE@{address}"' for prefix, address in identity.NAMESPACES.items())
    values = {
        "@NAMESPACES@": namespaces,
        "@NAMESPACE@": identity.NAMESPACE,
        "@PREFIXES@": " ".join(identity.NAMESPACES),
        "@NAME@": identity.NAME,
        "@VERSION@": ".".join(map(str, version)) + ".0",
        "@CLASS_ID@": class_identifier,
        "@PUBLISHER@": escape(publisher_name, {'"': "&quot;"}),
    }
    text = identity.MANIFEST
    for name, value in values.items():
        text = text.replace(name, value)
    return text.encode()


def draw(picture, size):
    command = ["rsvg-convert", "--width", str(size), "--height", str(size), picture]
    result = subprocess.run(command, capture_output=True)
    if result.returncode != 0:
        raise PackageError(f"{picture} could not be drawn: {result.stderr.decode().strip()}")
    return result.stdout


def make(library, sources, picture, result):
    version = file_version(read_file(library))
    if version is None:
        raise PackageError(f"{library} has no version resource")
    version = version[:3]
    text = manifest(version, class_id(sources, version),
                    signing_publisher(identity.DEVELOPMENT_PUBLISHER))
    members = [Member(name, draw(picture, size)) for name, size in identity.LOGOS.items()]
    members.append(Member("AppxManifest.xml", text))
    members.append(Member("AppxBlockMap.xml", block_map(members)))
    members.append(Member("[Content_Types].xml", identity.CONTENT_TYPES.encode()))
    with open(result, "wb") as file:
        file.write(archive(members))


if __name__ == "__main__":
    if sys.argv[1:2] in (["-h"], ["--help"]):
        print(__doc__)
        sys.exit(0)
    if len(sys.argv) != 5:
        print("make_msix.py: expected arguments: LIBRARY SOURCES PICTURE.svg RESULT.msix (see make_msix.py --help)",
              file=sys.stderr)
        sys.exit(2)
    try:
        make(*sys.argv[1:])
    except (OSError, CertificateError, PackageError) as error:
        sys.exit(f"make_msix.py: {error}")
