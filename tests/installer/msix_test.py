"""Tests of the identity package as a file:
msix_test.py MAKE_MSIX SIGN PROGRAMS_FOLDER SOURCES_FOLDER VERSION"""

import os
import shutil
import struct
import sys
import tempfile
import unittest

MAKE_MSIX, SIGN, PROGRAMS, SOURCES = map(os.path.abspath, sys.argv[1:5])
VERSION = sys.argv[5]
del sys.argv[1:6]
sys.path.insert(0, os.path.dirname(MAKE_MSIX))

import identity  # noqa: E402
import make_msix  # noqa: E402
from package_tools import make_certificate, must, read, run, write  # noqa: E402
from identity_package_checker import (  # noqa: E402
    BLOCK_MAP, CONTENT_TYPES, MANIFEST, SIGNATURE, problems, read_archive)

LIBRARY = os.path.join(PROGRAMS, "VeskardExplorerCommand.dll")
PICTURE = os.path.join(SOURCES, "contextmenu/artwork/menu_agent.svg")
BUILT = os.path.join(PROGRAMS, "VeskardExplorerCommand.msix")

# openssl takes the fields in the certificate's own order.
SUBJECT = '/C=DE/ST=Bavaria/L=Munich/O=Example, Inc./CN=Example/emailAddress=a@example.com'
PUBLISHER = 'E=a@example.com, CN=Example, O="Example, Inc.", L=Munich, S=Bavaria, C=DE'


def manifest_of(data):
    return next(entry for entry in read_archive(data) if entry.name == MANIFEST).contents.decode()


class IdentityPackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.certificates = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.certificates.cleanup)
        cls.ours = cls.signing_settings("ours", SUBJECT)
        cls.signed = cls.make_signed()

    @classmethod
    def signing_settings(cls, name, subject):
        certificate, key = make_certificate(cls.certificates.name, name, subject)
        return {"VESKARD_SIGN_CERTIFICATE": certificate, "VESKARD_SIGN_KEY": key}

    @classmethod
    def make(cls, path, library=LIBRARY, **environment):
        must(sys.executable, "-B", MAKE_MSIX, library, SOURCES, PICTURE, path, **environment)
        return path

    @classmethod
    def make_signed(cls):
        package = cls.make(os.path.join(cls.certificates.name, "signed.msix"), **cls.ours)
        must(SIGN, package, **cls.ours)
        return read(package)

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def publisher_for(self, subject):
        package = self.make(self.path("made.msix"), **self.signing_settings("other", subject))
        self.assertEqual(problems(read(package)), [])
        return read(package)

    def assert_publisher(self, data, publisher):
        self.assertIn('Publisher="' + publisher.replace('"', "&quot;") + '"', manifest_of(data))

    def test_the_built_package_is_right(self):
        self.assertEqual(problems(read(BUILT)), [])

    def test_the_signed_package_is_right(self):
        self.assertEqual(problems(self.signed), [])
        self.assertIn(SIGNATURE, [entry.name for entry in read_archive(self.signed)])

    def test_its_signature_is_that_of_the_certificate(self):
        package = write(self.path("signed.msix"), self.signed)
        must("osslsigncode", "verify", "-CAfile", self.ours["VESKARD_SIGN_CERTIFICATE"], "-in", package)

    def test_holds_no_program(self):
        names = [entry.name for entry in read_archive(read(BUILT))]
        self.assertEqual(names, [*identity.LOGOS, MANIFEST, BLOCK_MAP, CONTENT_TYPES])

    def test_says_what_it_is(self):
        manifest = manifest_of(read(BUILT))
        major, minor, patch = map(int, VERSION.split("."))
        for text in ['Name="Nimbrel.VeskardAgent"', f'Version="{VERSION}.0"', 'ProcessorArchitecture="neutral"',
                     'Executable="shellprobe.exe"',
                     f'Id="8AF59407-CC05-{major:04X}-{minor:02X}{patch:02X}-AE6472CC92B2"',
                     'Path="VeskardExplorerCommand.dll" ThreadingModel="STA"', 'Type="*"', 'Type="Directory"']:
            self.assertIn(text, manifest)

    def test_another_version_has_another_class(self):
        older = self.make(self.path("older.msix"), os.path.join(PROGRAMS, "tests/libraries/older_explorer_command.dll"))
        self.assertEqual(problems(read(older)), [])
        self.assertIn('Version="2.7.1.0"', manifest_of(read(older)))
        self.assertEqual(manifest_of(read(older)).count("8AF59407-CC05-0002-0701-AE6472CC92B2"), 3)

    def test_the_same_files_give_the_same_bytes(self):
        one = self.make(self.path("one.msix"), TZ="Asia/Tokyo", LC_ALL="C", PYTHONHASHSEED="1")
        copy = shutil.copy(LIBRARY, self.path("copy.dll"))
        os.utime(copy, (1_000_000_000, 1_000_000_000))
        other = self.make(self.path("other.msix"), copy, TZ="America/Lima", PYTHONHASHSEED="2")
        self.assertEqual(read(one), read(other))
        self.assertEqual(read(one), read(BUILT))

    def test_unsigned_it_is_made_for_a_development_name(self):
        self.assert_publisher(read(BUILT), "CN=Nimbrel Veskard Agent development")

    def test_the_publisher_is_the_certificate_s_subject_backwards(self):
        self.assert_publisher(self.signed, PUBLISHER)

    def test_a_publisher_with_quotes_and_letters_of_other_alphabets(self):
        self.assert_publisher(self.publisher_for('/O=Bücher "Grün" & Söhne/CN=日本'),
                              'CN=日本, O="Bücher ""Grün"" &amp; Söhne"')

    def test_a_field_that_windows_has_no_name_for_stands_by_its_number(self):
        self.assert_publisher(self.publisher_for("/businessCategory=Private/serialNumber=HRB 1/CN=Example"),
                              "CN=Example, SERIALNUMBER=HRB 1, OID.2.5.4.15=Private")

    def test_certificate_and_key_in_one_file_with_a_password(self):
        both, password = self.path("both.p12"), write(self.path("password"), b"open sesame")
        must("openssl", "pkcs12", "-export", "-in", self.ours["VESKARD_SIGN_CERTIFICATE"], "-inkey",
             self.ours["VESKARD_SIGN_KEY"], "-out", both, "-passout", "file:" + password)
        environment = {"VESKARD_SIGN_CERTIFICATE": both, "VESKARD_SIGN_PASSWORD_FILE": password}
        package = self.make(self.path("made.msix"), **environment)
        must(SIGN, package, **environment)
        self.assertEqual(problems(read(package)), [])
        self.assert_publisher(read(package), PUBLISHER)

    def test_a_package_made_for_another_certificate_is_not_signed(self):
        package = self.make(self.path("made.msix"))
        before = read(package)
        result = run(SIGN, package, **self.ours)
        self.assertEqual(result.returncode, 1)
        self.assertIn("is made for CN=Nimbrel Veskard Agent development, the certificate is that of " + PUBLISHER,
                      result.stderr)
        self.assertEqual(read(package), before)

    def test_a_library_without_a_version_is_refused(self):
        result = run(sys.executable, "-B", MAKE_MSIX, PICTURE, SOURCES, PICTURE, self.path("no.msix"))
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"make_msix.py: {PICTURE} has no version resource\n")
        self.assertFalse(os.path.exists(self.path("no.msix")))

    def test_a_picture_that_cannot_be_drawn_is_refused(self):
        result = run(sys.executable, "-B", MAKE_MSIX, LIBRARY, SOURCES, LIBRARY, self.path("no.msix"))
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"{LIBRARY} could not be drawn", result.stderr)


# --- damaged packages ---------------------------------------------------------------
# Each damage is done to a package that is right, and must be reported as what it is.


def members(data):
    return {entry.name: make_msix.Member(entry.name, entry.contents) for entry in read_archive(data)}


def with_block_map(files):
    """A package of these files and a block map that fits them."""
    listed = [member for name, member in files.items() if name not in (BLOCK_MAP, CONTENT_TYPES, SIGNATURE)]
    files[BLOCK_MAP] = make_msix.Member(BLOCK_MAP, make_msix.block_map(listed))
    last = [files[name] for name in (BLOCK_MAP, CONTENT_TYPES, SIGNATURE) if name in files]
    return make_msix.archive(listed + last)


def with_file(name, contents):
    """The package with a file more, or with other contents of one, and everything else to fit."""
    def damage(data):
        files = members(data)
        files[name] = make_msix.Member(name, contents)
        return with_block_map(files)
    return damage


def without(name):
    return lambda data: make_msix.archive([file for file in members(data).values() if file.name != name])


def changed(name, old, new):
    """Another text in a file, and nothing else to fit but the ZIP's own headers."""
    def damage(data):
        files = members(data)
        text = files[name].contents.decode()
        assert old in text, old
        files[name] = make_msix.Member(name, text.replace(old, new, 1).encode())
        return make_msix.archive(files.values())
    return damage


def manifest(old, new):
    def damage(data):
        text = manifest_of(data)
        assert old in text, old
        return with_file(MANIFEST, text.replace(old, new).encode())(data)
    return damage


def bytes_at(find, offset, new):
    """Other bytes at an offset from where some are found."""
    def damage(data):
        at = data.index(find) + offset
        return data[:at] + new + data[at + len(new):]
    return damage


def first_block_of_manifest(change):
    def damage(data):
        entry = next(entry for entry in read_archive(data) if entry.name == MANIFEST)
        size = len(entry.packed) - 2
        return changed(BLOCK_MAP, f'Size="{size}"', change(size))(data)
    return damage


def in_two_headers(field, value):
    """A field of the first file's two headers; the number is its offset in the fields that both have."""
    def damage(data):
        for start in (4, data.index(b"PK\1\2") + 6):
            data = data[:start + field] + struct.pack("<H", value) + data[start + field + 2:]
        return data
    return damage


def again(data):
    files = list(members(data).values())
    return make_msix.archive([files[0], *files])


def moved(data):
    files = members(data)
    return make_msix.archive([files.pop(CONTENT_TYPES), *files.values()])


def with_gap(data):
    at = data.index(b"PK\3\4", 4)
    return data[:at] + b"\0" + data[at:]


FIRST = next(iter(identity.LOGOS))
PICTURE_BYTES = b"\x89PNG\r\n\x1a\n"

# what is damaged: how, what the checker says of it; done to the unsigned package
DAMAGES = {
    "cut_short": (lambda data: data[:-1], "no end of a central directory"),
    "bytes_behind_it": (lambda data: data + b"\0", "no end of a central directory"),
    "too_few_files_counted": (lambda data: data[:-14] + struct.pack("<2H", 5, 5) + data[-10:], "belong to nothing"),
    "a_changed_byte_of_a_picture": (bytes_at(PICTURE_BYTES, 60, b"\x01\x02"), "the checksum"),
    "a_changed_byte_of_packed_text": (lambda data: bytes_at(b"AppxManifest.xml", 16, b"\xff\xff")(data),
                                      "AppxManifest.xml cannot be unpacked"),
    "headers_that_differ": (bytes_at(b"PK\3\4", 10, b"\7"), "the two headers of"),
    "a_name_that_differs": (bytes_at(b"Assets", 0, b"assets"), "the two headers of"),
    "a_gap_between_files": (with_gap, "the end of the central directory does not fit"),
    "an_encrypted_file": (in_two_headers(2, 1), "in a way that Windows does not take"),
    "an_unknown_packing": (in_two_headers(4, 12), "in a way that Windows does not take"),
    "a_file_twice": (again, "is there twice"),
    "a_name_outside_the_package": (with_file("../a.png", PICTURE_BYTES), "is no name of a file in a package"),
    "a_program_inside": (with_file("shellprobe.exe", b"MZ"), "shellprobe.exe is a program"),
    "no_manifest": (without(MANIFEST), "AppxManifest.xml is missing"),
    "no_block_map": (without(BLOCK_MAP), "AppxBlockMap.xml is missing"),
    "no_content_types": (without(CONTENT_TYPES), "[Content_Types].xml is missing"),
    "another_order": (moved, "are not last"),

    "block_map_that_is_no_xml": (changed(BLOCK_MAP, "</BlockMap>", ""), "AppxBlockMap.xml is not XML"),
    "block_map_of_another_kind": (changed(BLOCK_MAP, "2010/blockmap", "2011/blockmap"), "of another kind"),
    "another_hash_method": (changed(BLOCK_MAP, "xmlenc#sha256", "xmlenc#sha512"), "of another kind"),
    "another_hash": (changed(BLOCK_MAP, 'Hash="', 'Hash="A'), "has another hash"),
    "a_block_missing": (lambda data: changed(BLOCK_MAP, block_of(data, FIRST), "")(data), "has 1 blocks, not 0"),
    "a_block_too_many": (lambda data: changed(BLOCK_MAP, block_of(data, FIRST), 2 * block_of(data, FIRST))(data),
                         "has 1 blocks, not 2"),
    "another_file_size": (changed(BLOCK_MAP, ' Size="', ' Size="1'), "has another size in the block map"),
    "another_header_size": (changed(BLOCK_MAP, 'LfhSize="', 'LfhSize="1'), "has another header size"),
    "another_packed_size": (first_block_of_manifest(lambda size: f'Size="{size - 1}"'), "do not add up"),
    "a_packed_size_missing": (first_block_of_manifest(lambda _: ""), "has another packed size"),
    "a_packed_size_of_a_stored_file": (changed(BLOCK_MAP, '="/>', '=" Size="1374"/>'), "is stored and has"),
    "a_file_that_the_map_lacks": (lambda data: changed(BLOCK_MAP, file_of(data, FIRST), "")(data),
                                  "is not both in the block map and in the package"),
    "a_file_that_only_the_map_has": (without(FIRST), "is not both in the block map and in the package"),
    "a_file_twice_in_the_map": (lambda data: changed(BLOCK_MAP, file_of(data, FIRST), 2 * file_of(data, FIRST))(data),
                                "the block map has a file twice"),

    "pictures_without_a_content_type": (changed(CONTENT_TYPES, '"png"', '"gif"'), "has the content type None"),
    "block_map_with_the_manifest_s_content_type": (changed(CONTENT_TYPES, "/AppxBlockMap", "/AppxBlock"),
                                                   "AppxBlockMap.xml has the content type"),
    "manifest_with_a_content_type_of_its_own": (changed(CONTENT_TYPES, "appx.manifest", "appx.something"),
                                                "AppxManifest.xml has the content type"),

    "manifest_that_is_no_xml": (manifest("</Package>", ""), "AppxManifest.xml is not XML"),
    "manifest_of_another_kind": (manifest("<Package xmlns=\"" + identity.NAMESPACE, "<Package xmlns=\"x"),
                                 "the manifest is of another kind"),
    "another_namespace": (manifest("windows10/10", "windows10/11"), "the namespace uap10 is"),
    "an_ignorable_namespace_without_an_address": (manifest('="uap uap10', '="uap uap3 uap10'), "is not declared"),
    "a_name_of_a_wrong_form": (manifest('Name="Nimbrel.', 'Name="Nimbrel '), "Identity Name is"),
    "a_version_of_three_numbers": (manifest(f'"{VERSION}.0"', f'"{VERSION}"'), "Identity Version is"),
    "a_version_with_too_large_a_number": (manifest(f'"{VERSION}.0"', '"2.7.65536.0"'), "Identity Version is"),
    "an_architecture": (manifest('"neutral"', '"x64"'), "Identity ProcessorArchitecture is x64"),
    "a_publisher_without_blanks_behind_commas": (manifest('Publisher="CN=', 'Publisher="C=DE,CN='),
                                                 "Identity Publisher is"),
    "a_publisher_with_a_name_that_windows_lacks": (manifest('Publisher="CN=', 'Publisher="ST=Bavaria, CN='),
                                                   "Identity Publisher is"),
    "no_publisher": (manifest("Publisher=", "Published="), "Identity Publisher is None"),
    "no_external_content": (manifest(">true<", ">false<"), "AllowExternalContent text is false"),
    "too_old_a_windows": (manifest("10.0.19041.0", "10.0.17763.0"), "MinVersion is 10.0.17763.0"),
    "another_family_of_devices": (manifest("Windows.Desktop", "Windows.Universal"), "TargetDeviceFamily Name is"),
    "a_capability_missing": (manifest('<rescap:Capability Name="runFullTrust"/>', ""), "the capabilities are"),
    "a_program_in_a_folder": (manifest('"shellprobe.exe"', '"bin\\shellprobe.exe"'), "Application Executable is"),
    "another_trust_level": (manifest("mediumIL", "appContainer"), "TrustLevel is appContainer"),
    "another_behaviour": (manifest('"win32App"', '"packagedClassicApp"'), "RuntimeBehavior is"),
    "an_entry_point": (manifest("Executable=", 'EntryPoint="x" Executable='), "an entry point"),
    "an_entry_in_the_list_of_programs": (manifest('AppListEntry="none"', ""), "AppListEntry is None"),
    "an_unknown_colour": (manifest('"transparent"', '"sky"'), "BackgroundColor is sky"),
    "an_empty_name": (manifest("<DisplayName>Nimbrel Veskard Agent", "<DisplayName>"), "DisplayName text is"),
    "no_logo": (manifest('Square44x44Logo="', 'Square71x71Logo="'), "Square44x44Logo is None"),
    "a_logo_that_is_not_there": (manifest("StoreLogo.png", "Logo.png"), "is no picture of 50 pixels"),
    "a_logo_of_another_size": (manifest("Assets\\StoreLogo.png", "Assets\\Square44x44Logo.png"),
                               "is no picture of 50 pixels"),
    "a_class_in_braces": (manifest('<com:Class Id="8AF', '<com:Class Id="{8AF'), "com:Class Id is"),
    "a_library_in_a_folder": (manifest('Path="', 'Path="C:\\'), "com:Class Path is"),
    "another_threading_model": (manifest('"STA"', '"Both"'), "ThreadingModel is Both"),
    "a_verb_s_id_with_a_dot": (manifest('"VeskardFiles"', '"Veskard.Files"'), "desktop5:Verb Id is Veskard.Files"),
    "two_verbs_of_one_id": (manifest("VeskardFolders", "VeskardFiles"), "two verbs have one id"),
    "a_verb_of_another_class": (manifest('Clsid="8AF59407', 'Clsid="8AF59405'), "no class is 8AF59405"),
    "no_verb_for_folders": (manifest('"Directory"', '"*"'), "the verbs are for"),
    "a_verb_for_something_else": (manifest('"Directory"', '"Drive"'), "ItemType Type is Drive"),
}


def map_text(data):
    return next(entry for entry in read_archive(data) if entry.name == BLOCK_MAP).contents.decode()


def file_of(data, name):
    """What the block map says of a file."""
    text = map_text(data)
    start = text.index(f'<File Name="{name.replace("/", chr(92))}"')
    return text[start:text.index("</File>", start) + len("</File>")]


def block_of(data, name):
    text = file_of(data, name)
    return text[text.index("<Block"):text.index("</File>")]


# The same of the signed package: what was changed after signing.
SIGNED_DAMAGES = {
    "another_picture": (with_file(FIRST, PICTURE_BYTES + struct.pack(">4I", 13, 0, 50, 50)), ["AXBM", "AXCD", "AXPC"]),
    "another_block_map": (changed(BLOCK_MAP, "</BlockMap>", " </BlockMap>"), ["AXBM", "AXCD", "AXPC"]),
    "other_content_types": (changed(CONTENT_TYPES, "</Types>", " </Types>"), ["AXCD", "AXCT", "AXPC"]),
    "another_central_directory": (bytes_at(b"PK\1\2", 4, b"\x3f"), ["AXCD"]),
    "another_manifest": (manifest(f'Version="{VERSION}.0"', 'Version="9.9.9.9"'), ["AXBM", "AXCD", "AXPC"]),
}


def damaged(damage, expected):
    def test(self):
        found = problems(damage(read(BUILT)))
        self.assertTrue(any(expected in problem for problem in found), found)
    return test


def damaged_after_signing(damage, digests):
    def test(self):
        found = problems(damage(self.signed))
        self.assertEqual(found, [f"the signature's {name} is another" for name in digests])
        package = write(self.path("damaged.msix"), damage(self.signed))
        certificate = self.ours["VESKARD_SIGN_CERTIFICATE"]
        self.assertNotEqual(run("osslsigncode", "verify", "-CAfile", certificate, "-in", package).returncode, 0)
    return test


for name, case in DAMAGES.items():
    setattr(IdentityPackageTest, "test_finds_" + name, damaged(*case))
for name, case in SIGNED_DAMAGES.items():
    setattr(IdentityPackageTest, "test_finds_after_signing_" + name, damaged_after_signing(*case))


class FormTest(unittest.TestCase):
    """What only larger packages and broken signatures show."""

    def test_every_block_of_a_large_file_is_in_the_map(self):
        lines = "".join(f"<!-- {number * number} -->\n" for number in range(20_000))
        data = manifest("</Package>", lines + "</Package>")(read(BUILT))
        self.assertEqual(problems(data), [])
        self.assertEqual(file_of(data, MANIFEST).count("<Block "), len(manifest_of(data)) // 65536 + 1)

    def test_finds_two_blocks_of_a_large_file_in_the_wrong_order(self):
        contents = bytes(65536) + b"\1" * 65536
        data = with_file("large.png", contents)(read(BUILT))
        blocks = block_of(data, "large.png").split("/>")
        swapped = "/>".join([blocks[1], blocks[0], ""])
        found = problems(changed(BLOCK_MAP, "/>".join(blocks), swapped)(data))
        self.assertEqual(found, [f"block {number} of large.png has another hash" for number in range(2)])

    def test_finds_a_signature_that_is_none(self):
        self.assertIn("the signature is none of a package", problems(with_file(SIGNATURE, b"PKCX")(read(BUILT))))
        with_type = changed(CONTENT_TYPES, "</Types>", f'<Override PartName="/{SIGNATURE}" ContentType="x"/></Types>')
        self.assertIn("the signature is none of a package",
                      problems(with_file(SIGNATURE, b"PKCX")(with_type(read(BUILT)))))


if __name__ == "__main__":
    unittest.main()
