"""Looks into an identity package as Windows does before it registers one: the ZIP
file, the block map, the content types, the manifest, the digests in the signature.
Written apart from what makes the package, so that one mistake is not made twice.
"""

import base64
import hashlib
import re
import struct
import xml.etree.ElementTree as xml
import zlib
from dataclasses import dataclass

BLOCK = 0x10000
STORED, DEFLATED = 0, 8
MANIFEST, BLOCK_MAP, CONTENT_TYPES, SIGNATURE = (
    "AppxManifest.xml", "AppxBlockMap.xml", "[Content_Types].xml", "AppxSignature.p7x")
NOT_IN_BLOCK_MAP = {BLOCK_MAP, CONTENT_TYPES, SIGNATURE}

SCHEMAS = "http://schemas.microsoft.com/appx/manifest/"
PREFIXES = {
    "": SCHEMAS + "foundation/windows10",
    "uap": SCHEMAS + "uap/windows10",
    "uap10": SCHEMAS + "uap/windows10/10",
    "rescap": SCHEMAS + "foundation/windows10/restrictedcapabilities",
    "com": SCHEMAS + "com/windows10",
    "desktop4": SCHEMAS + "desktop/windows10/4",
    "desktop5": SCHEMAS + "desktop/windows10/5",
}
TYPES = {"": "http://schemas.openxmlformats.org/package/2006/content-types"}
BLOCKS = {"": "http://schemas.microsoft.com/appx/2010/blockmap"}
SHA256 = "http://www.w3.org/2001/04/xmlenc#sha256"

GUID = r"[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}"
NUMBER = r"(0|[1-9][0-9]{0,3}|[1-5][0-9]{4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-5])"
VERSION = rf"{NUMBER}(\.{NUMBER}){{3}}"
FIELD = (r"(CN|L|O|OU|E|C|S|STREET|T|G|I|SN|DC|SERIALNUMBER|Description|PostalCode|POBox|Phone|X21Address|dnQualifier"
         r"|OID(\.[0-9]+)+)=(([^,+=\"<>#;\s]([^,+=\"<>#;]*[^,+=\"<>#;\s])?)|\"([^\"]|\"\")*\")")
TEXT = r"\S(.{0,254}\S)?"
PICTURE = r"[^\\/:*?\"<>|][^/:*?\"<>|]*\.png"
APPLICATION = "Applications/Application"
VISUAL = APPLICATION + "/uap:VisualElements"
COM_CLASS = APPLICATION + "/Extensions/com:Extension/com:ComServer/com:SurrogateServer/com:Class"
MENUS = APPLICATION + "/Extensions/desktop4:Extension/desktop4:FileExplorerContextMenus"
VERB = MENUS + "/desktop5:ItemType/desktop5:Verb"

# What a manifest must say: element, attribute ("" for its text), pattern of the whole.
# An element that occurs several times must say it each time.
RULES = [
    ("Identity", "Name", r"[-.A-Za-z0-9]{3,50}"),
    ("Identity", "Publisher", rf"{FIELD}(, {FIELD})*"),
    ("Identity", "Version", VERSION),
    ("Identity", "ProcessorArchitecture", "neutral"),
    ("Properties/DisplayName", "", TEXT),
    ("Properties/PublisherDisplayName", "", TEXT),
    ("Properties/Logo", "", PICTURE),
    ("Properties/uap10:AllowExternalContent", "", "true"),
    ("Resources/Resource", "Language", r"[a-z]{2}-[a-z]{2}"),
    ("Dependencies/TargetDeviceFamily", "Name", r"Windows\.Desktop"),
    ("Dependencies/TargetDeviceFamily", "MinVersion", r"10\.0\.(19041|19[1-9][0-9]{2}|[2-9][0-9]{4})\.[0-9]+"),
    ("Dependencies/TargetDeviceFamily", "MaxVersionTested", VERSION),
    ("Capabilities/rescap:Capability", "Name", r"runFullTrust|unvirtualizedResources"),
    (APPLICATION, "Id", r"[A-Za-z][A-Za-z0-9]*(\.[A-Za-z][A-Za-z0-9]*)*"),
    (APPLICATION, "Executable", r"[^\\/:*?\"<>|]+\.exe"),
    (APPLICATION, "uap10:TrustLevel", "mediumIL"),
    (APPLICATION, "uap10:RuntimeBehavior", "win32App"),
    (VISUAL, "AppListEntry", "none"),
    (VISUAL, "DisplayName", TEXT),
    (VISUAL, "Description", TEXT),
    (VISUAL, "BackgroundColor", r"transparent|#[0-9A-Fa-f]{6}"),
    (VISUAL, "Square150x150Logo", PICTURE),
    (VISUAL, "Square44x44Logo", PICTURE),
    (APPLICATION + "/Extensions/com:Extension", "Category", r"windows\.comServer"),
    (APPLICATION + "/Extensions/com:Extension/com:ComServer/com:SurrogateServer", "DisplayName", TEXT),
    (COM_CLASS, "Id", GUID),
    (COM_CLASS, "Path", r"[^\\/:*?\"<>|]+\.dll"),
    (COM_CLASS, "ThreadingModel", "STA"),
    (APPLICATION + "/Extensions/desktop4:Extension", "Category", r"windows\.fileExplorerContextMenus"),
    (MENUS + "/desktop5:ItemType", "Type", r"\*|Directory"),
    (VERB, "Id", r"[A-Za-z0-9]+"),
    (VERB, "Clsid", GUID),
]

# Pictures that the manifest names, and how many pixels wide and high each has to be.
PICTURES = [("Properties/Logo", "", 50), (VISUAL, "Square150x150Logo", 150), (VISUAL, "Square44x44Logo", 44)]


class Damaged(Exception):
    """So broken that nothing more can be read."""


# The fields that a file's two headers have in common.
COMMON = struct.Struct("<5H3I2H")
LOCAL_SIZE, DIRECTORY_SIZE, END_SIZE = 30, 46, 22
ENCRYPTED = 0x2041


@dataclass
class Entry:
    name: str
    method: int
    start: int          # of its local header
    header_size: int
    packed: bytes
    contents: bytes
    directory: bytes    # its entry in the central directory


def common_fields(data, at, signature):
    if data[at:at + 4] != signature:
        raise Damaged(f"there is no header at {at}")
    return COMMON.unpack_from(data, at + (4 if signature == b"PK\3\4" else 6))


def unpack(method, packed, name):
    if method == STORED:
        return packed
    stream = zlib.decompressobj(-zlib.MAX_WBITS)
    try:
        contents = stream.decompress(packed)
    except zlib.error as error:
        raise Damaged(f"{name} cannot be unpacked: {error}") from error
    if not stream.eof or stream.unused_data:
        raise Damaged(f"{name} does not end where its packed bytes do")
    return contents


def read_entry(data, at, expected_start):
    """The file whose entry in the central directory is at `at`; it has to begin where the one before it ends."""
    fields = common_fields(data, at, b"PK\1\2")
    _, flags, method, _, _, checksum, packed_size, size, name_size, extra_size = fields
    comment_size, disk, _, _, start = struct.unpack_from("<3H2I", data, at + 32)
    name = data[at + DIRECTORY_SIZE:at + DIRECTORY_SIZE + name_size].decode()
    if start != expected_start:
        raise Damaged(f"{name} does not begin where the file before it ends")
    local = common_fields(data, start, b"PK\3\4")
    header_size = LOCAL_SIZE + local[8] + local[9]
    if local[:9] != fields[:9] or data[start + LOCAL_SIZE:start + LOCAL_SIZE + name_size].decode() != name:
        raise Damaged(f"the two headers of {name} differ")
    if flags & ENCRYPTED or method not in (STORED, DEFLATED) or disk:
        raise Damaged(f"{name} is packed in a way that Windows does not take")
    packed = data[start + header_size:start + header_size + packed_size]
    contents = unpack(method, packed, name)
    if len(contents) != size or zlib.crc32(contents) != checksum:
        raise Damaged(f"{name} has not the size or the checksum that its header says")
    directory = data[at:at + DIRECTORY_SIZE + name_size + extra_size + comment_size]
    return Entry(name, method, start, header_size, packed, contents, directory)


def read_archive(data):
    """The files in the order in which they lie there, from the first byte to the last without a gap."""
    end = len(data) - END_SIZE
    if end < 0 or data[end:end + 4] != b"PK\5\6":
        raise Damaged("there is no end of a central directory at the end of the file")
    disk, directory_disk, here, count, size, start, comment = struct.unpack_from("<4H2IH", data, end + 4)
    if disk or directory_disk or comment or here != count or start + size != end:
        raise Damaged("the end of the central directory does not fit the file")
    entries, at, files_end = [], start, 0
    for _ in range(count):
        entry = read_entry(data, at, files_end)
        entries.append(entry)
        at += len(entry.directory)
        files_end = entry.start + entry.header_size + len(entry.packed)
    if at != end or files_end != start:
        raise Damaged("bytes of the file belong to nothing")
    return entries


def archive_problems(entries):
    names = [entry.name for entry in entries]
    for name in {name for name in names if names.count(name) > 1}:
        yield f"{name} is there twice"
    for name in (MANIFEST, BLOCK_MAP, CONTENT_TYPES):
        if name not in names:
            yield f"{name} is missing"
    last = names[-3:] if SIGNATURE in names else names[-2:]
    if last != [BLOCK_MAP, CONTENT_TYPES, SIGNATURE][:len(last)]:
        yield "the block map, the content types and the signature are not last"
    for entry in entries:
        if re.search(r'[\\:*?"<>|]|^/|(^|/)\.\.?(/|$)', entry.name):
            yield f"{entry.name} is no name of a file in a package"
        if entry.contents.startswith((b"MZ", b"#!")):
            yield f"{entry.name} is a program"


# --- the block map ------------------------------------------------------------------


def parsed(entry):
    try:
        return xml.fromstring(entry.contents.decode("utf-8"))
    except (UnicodeDecodeError, xml.ParseError) as error:
        raise Damaged(f"{entry.name} is not XML: {error}") from error


def block_problems(entry, elements):
    """Whether each block is where the map says, and what it says."""
    expected = [entry.contents[start:start + BLOCK] for start in range(0, len(entry.contents), BLOCK)]
    if len(elements) != len(expected):
        yield f"{entry.name} has {len(expected)} blocks, not {len(elements)}"
        return
    at = 0
    for number, (element, block) in enumerate(zip(elements, expected)):
        if element.get("Hash") != base64.b64encode(hashlib.sha256(block).digest()).decode():
            yield f"block {number} of {entry.name} has another hash"
        size = element.get("Size")
        if entry.method == STORED:
            if size is not None:
                yield f"block {number} of {entry.name} is stored and has a packed size"
            continue
        packed = entry.packed[at:at + int(size or 0)]
        at += int(size or 0)
        try:
            right = zlib.decompressobj(-zlib.MAX_WBITS).decompress(packed) == block
        except zlib.error:
            right = False
        if not right:
            yield f"block {number} of {entry.name} has another packed size"
    # After the last one comes nothing, or the two bytes that end packed data.
    if entry.method == DEFLATED and len(entry.packed) - at not in (0, 2):
        yield f"the packed sizes of {entry.name} do not add up"


def block_map_problems(entries, block_map):
    root = parsed(block_map)
    if root.tag != f"{{{BLOCKS['']}}}BlockMap" or root.get("HashMethod") != SHA256:
        yield "the block map is of another kind"
        return
    files = {element.get("Name"): element for element in root}
    if len(files) != len(root):
        yield "the block map has a file twice"
    listed = [entry for entry in entries if entry.name not in NOT_IN_BLOCK_MAP]
    for name in sorted(set(files) ^ {entry.name.replace("/", "\\") for entry in listed}):
        yield f"{name} is not both in the block map and in the package"
    for entry in listed:
        element = files.get(entry.name.replace("/", "\\"))
        if element is None:
            continue
        if element.get("Size") != str(len(entry.contents)):
            yield f"{entry.name} has another size in the block map"
        if element.get("LfhSize") != str(entry.header_size):
            yield f"{entry.name} has another header size in the block map"
        yield from block_problems(entry, list(element))


# --- the content types --------------------------------------------------------------


def content_type_problems(entries, content_types):
    root = parsed(content_types)
    defaults = {element.get("Extension"): element.get("ContentType")
                for element in root.findall("Default", TYPES)}
    overrides = {element.get("PartName"): element.get("ContentType")
                 for element in root.findall("Override", TYPES)}
    wanted = {
        MANIFEST: "application/vnd.ms-appx.manifest+xml",
        BLOCK_MAP: "application/vnd.ms-appx.blockmap+xml",
        SIGNATURE: "application/vnd.ms-appx.signature",
    }
    for entry in entries:
        if entry.name == CONTENT_TYPES:
            continue
        kind = overrides.get("/" + entry.name) or defaults.get(entry.name.rpartition(".")[2])
        if kind != wanted.get(entry.name, "image/png"):
            yield f"{entry.name} has the content type {kind}"


# --- the manifest -------------------------------------------------------------------


def attribute_name(name):
    prefix, _, local = name.rpartition(":")
    return f"{{{PREFIXES[prefix]}}}{local}" if prefix else local


def values(root, path, attribute):
    for element in root.findall(path, PREFIXES):
        yield (element.text or "") if not attribute else element.get(attribute_name(attribute))


def rule_problems(root):
    for path, attribute, pattern in RULES:
        found = list(values(root, path, attribute))
        if not found:
            yield f"{path} is missing"
        for value in found:
            if value is None or not re.fullmatch(pattern, value):
                yield f"{path} {attribute or 'text'} is {value}"


def prefix_problems(text, root):
    declared = dict(re.findall(r'xmlns:(\w+)="([^"]*)"', text))
    for prefix in (root.get("IgnorableNamespaces") or "").split():
        if prefix not in declared:
            yield f"the ignorable namespace {prefix} is not declared"
    for prefix, address in declared.items():
        if PREFIXES.get(prefix) != address:
            yield f"the namespace {prefix} is {address}"


def reference_problems(entries, root):
    """What one place in the manifest names and another has to have."""
    classes = list(values(root, COM_CLASS, "Id"))
    if len(classes) != 1:
        yield f"{len(classes)} classes instead of one"
    for class_id in values(root, VERB, "Clsid"):
        if class_id not in classes:
            yield f"no class is {class_id}"
    kinds = sorted(values(root, MENUS + "/desktop5:ItemType", "Type"))
    if kinds != ["*", "Directory"]:
        yield f"the verbs are for {kinds}"
    for item in root.findall(MENUS + "/desktop5:ItemType", PREFIXES):
        if len(item) != 1:
            yield f"{len(item)} verbs for {item.get('Type')}"
    verbs = list(values(root, VERB, "Id"))
    if len(set(verbs)) != len(verbs):
        yield "two verbs have one id"
    capabilities = sorted(values(root, "Capabilities/rescap:Capability", "Name"))
    if capabilities != ["runFullTrust", "unvirtualizedResources"]:
        yield f"the capabilities are {capabilities}"
    if list(values(root, APPLICATION, "EntryPoint")) != [None]:
        yield "an entry point beside a trust level"
    pictures = {entry.name.replace("/", "\\"): entry.contents for entry in entries}
    for path, attribute, size in PICTURES:
        for name in values(root, path, attribute):
            contents = pictures.get(name, b"")
            if contents[:8] != b"\x89PNG\r\n\x1a\n" or struct.unpack(">2I", contents[16:24]) != (size, size):
                yield f"{name} is no picture of {size} pixels"


def manifest_problems(entries, manifest):
    root = parsed(manifest)
    if root.tag != f"{{{PREFIXES['']}}}Package":
        yield "the manifest is of another kind"
        return
    yield from prefix_problems(manifest.contents.decode(), root)
    yield from rule_problems(root)
    yield from reference_problems(entries, root)


# --- the signature ------------------------------------------------------------------


def signed_digests(signature):
    """The digests that are signed, by name: AXPC, AXCD, AXCT, AXBM."""
    start = signature.find(b"APPXAXPC")
    if not signature.startswith(b"PKCX") or start < 0:
        raise Damaged("the signature is none of a package")
    digests, at = {}, start + 4
    while re.fullmatch(rb"AX[A-Z]{2}", signature[at:at + 4]):
        digests[signature[at:at + 4].decode()] = signature[at + 4:at + 36]
        at += 36
    return digests


def digests(data, entries):
    """The same, of the package as it lies there: what comes before the signature, the central
    directory as it would be without it, the content types, the block map."""
    by_name = {entry.name: entry for entry in entries}
    signature = by_name[SIGNATURE]
    directory = b"".join(entry.directory for entry in entries if entry is not signature)
    count = len(entries) - 1
    end = b"PK\5\6" + struct.pack("<4H2IH", 0, 0, count, count, len(directory), signature.start, 0)
    return {name: hashlib.sha256(contents).digest() for name, contents in {
        "AXPC": data[:signature.start],
        "AXCD": directory + end,
        "AXCT": by_name[CONTENT_TYPES].contents,
        "AXBM": by_name[BLOCK_MAP].contents,
    }.items()}


def signature_problems(data, entries, signature):
    found, right = signed_digests(signature.contents), digests(data, entries)
    for name in sorted(set(found) | set(right)):
        if found.get(name) != right.get(name):
            yield f"the signature's {name} is another"


# --- everything ---------------------------------------------------------------------


def problems(data):
    """What is wrong with a package, a line each; nothing when it is right."""
    try:
        entries = read_archive(data)
        found = list(archive_problems(entries))
        by_name = {entry.name: entry for entry in entries}
        for name, check in [(BLOCK_MAP, block_map_problems), (CONTENT_TYPES, content_type_problems),
                            (MANIFEST, manifest_problems)]:
            if name in by_name:
                found += check(entries, by_name[name])
        if SIGNATURE in by_name:
            found += signature_problems(data, entries, by_name[SIGNATURE])
        return found
    except (Damaged, UnicodeDecodeError, struct.error, ValueError) as damage:
        return [str(damage)]
