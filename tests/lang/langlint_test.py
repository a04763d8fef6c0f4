"""Tests of tools/langlint/langlint.py: langlint_test.py FOLDER_OF_LANGLINT LANGUAGE_FOLDER

The first class damages a small archive, the second one the files that ship.
"""

import io
import os
import re
import shutil
import sys
import tempfile
import unittest
from contextlib import redirect_stderr, redirect_stdout

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv.pop(1))
SHIPPED = sys.argv.pop(1)
import langlint  # noqa: E402

ENGLISH = ["Open folder", 'Share "%s" with %APPNAME%', "Waiting...", "Delete?\\r\\n\\r\\nIt is gone.", "OK"]
GERMAN = ["Ordner öffnen", "„%s“ mit %APPNAME% teilen", "Wartet...", "Löschen?\\r\\n\\r\\nEs ist weg.", "OK"]
TERMS = ["folder\tOrdner", "OK\tOK"]


def built_in(texts, group="The menu of a folder"):
    literals = ['    "{}\\0"\n'.format(text.replace('"', '\\"')) for text in texts]
    return f"constexpr char kTexts[] =\n    // 0: {group}\n" + "".join(literals)


class LangLintTest(unittest.TestCase):
    """Writes a small archive, changed in one place, and looks at the findings."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.write("BuiltInStrings.cpp", built_in(ENGLISH))
        self.write_lines("english.txt", ENGLISH)
        self.write_lines("english.glossary.txt", ["# terms", "folder\ta folder"])
        self.write_lines("German!de.txt", GERMAN)
        self.write_lines("German!de.glossary.txt", TERMS)

    def path(self, name):
        return os.path.join(self.folder.name, name)

    def write(self, name, text):
        with open(self.path(name), "wb") as file:
            file.write(text if isinstance(text, bytes) else text.encode("utf-8"))

    def write_lines(self, name, lines):
        self.write(name, "".join(line + "\n" for line in lines))

    def findings(self):
        found = langlint.check_folder(self.folder.name, self.path("BuiltInStrings.cpp"))
        return [(finding.file, finding.line, finding.rule) for finding in found]

    def translate(self, line, text):
        """Puts a text in place of a German line, counted from 1."""
        self.write_lines("German!de.txt", GERMAN[:line - 1] + [text] + GERMAN[line:])

    def expect_german(self, line, rule):
        self.assertEqual(self.findings(), [("German!de.txt", line, rule)])

    def test_good_files_have_no_findings(self):
        self.assertEqual(self.findings(), [])

    # encoding

    def test_byte_order_mark(self):
        self.write("German!de.txt", b"\xef\xbb\xbf" + "".join(line + "\n" for line in GERMAN).encode())
        self.expect_german(1, "encoding")

    def test_missing_last_line_feed(self):
        self.write("German!de.txt", "\n".join(GERMAN))
        self.expect_german(5, "encoding")

    def test_bytes_that_are_not_utf8(self):
        self.write("German!de.txt", "\n".join(GERMAN + [""]).encode().replace("ö".encode(), b"\xf6", 1))
        self.assertIn(("German!de.txt", 1, "encoding"), self.findings())

    def test_control_characters(self):
        for character in "\r\t\u200b\u00ad":
            self.translate(1, "Ordner ö" + character + "ffnen")
            self.assertIn(("German!de.txt", 1, "encoding"), self.findings(), ascii(character))

    # parity and blank

    def test_missing_line(self):
        self.write_lines("German!de.txt", GERMAN[:4])
        self.expect_german(5, "parity")

    def test_line_too_many(self):
        self.write_lines("German!de.txt", GERMAN + ["Zu viel"])
        self.expect_german(6, "parity")

    def test_blank_lines(self):
        for blank in ("", " ", "\u3000"):
            self.translate(3, blank)
            self.expect_german(3, "blank")

    # placeholder

    def test_missing_placeholder(self):
        self.translate(2, "„Ordner“ mit %APPNAME% teilen")
        self.expect_german(2, "placeholder")

    def test_other_name_placeholder(self):
        self.translate(2, "„%s“ mit %APPSHORTNAME% teilen")
        self.assertEqual(set(self.findings()), {("German!de.txt", 2, "placeholder")})

    def test_doubled_placeholder(self):
        self.translate(2, "„%s“ %APPNAME%%APPNAME%")
        self.expect_german(2, "placeholder")

    def test_value_of_another_kind(self):
        self.translate(2, "„%d“ mit %APPNAME% teilen")
        self.expect_german(2, "placeholder")

    def test_values_in_another_order(self):
        pair = langlint.Pair(1, "%s of %d", "%d %s")
        self.assertEqual(len(list(langlint.check_placeholders(pair))), 1)

    def test_names_may_move(self):
        pair = langlint.Pair(1, '"%s" with %APPNAME%', "%APPNAME%: „%s“")
        self.assertEqual(list(langlint.check_placeholders(pair)), [])

    def test_stray_percent_sign(self):
        for text in ("Wartet 5 %...", "Wartet %APPNAME...", "Wartet %S..."):
            self.translate(3, text)
            self.expect_german(3, "placeholder")

    # escape

    def test_missing_line_break(self):
        self.translate(4, "Löschen?\\r\\nEs ist weg.")
        self.assertIn(("German!de.txt", 4, "escape"), self.findings())

    def test_half_a_line_break(self):
        self.translate(4, "Löschen?\\r\\n\\r\\nEs ist\\n weg.")
        self.assertIn(("German!de.txt", 4, "escape"), self.findings())

    def test_other_backslash(self):
        self.translate(1, "Ordner \\öffnen")
        self.expect_german(1, "escape")

    def test_doubled_bar(self):
        self.translate(1, "Ordner||öffnen")
        self.expect_german(1, "escape")

    # edge-blank

    def test_leading_and_trailing_blanks(self):
        for text in (" Ordner öffnen", "Ordner öffnen ", "\u00a0Ordner öffnen", "Ordner öffnen\u3000"):
            self.translate(1, text)
            self.assertIn(("German!de.txt", 1, "edge-blank"), self.findings(), ascii(text))

    def test_blank_beside_a_line_break(self):
        self.translate(4, "Löschen?\\r\\n\\r\\n Es ist weg.")
        self.expect_german(4, "edge-blank")

    # ending

    def test_other_end_mark(self):
        for text in ("Wartet", "Wartet.", "Wartet:", "Wartet?"):
            self.translate(3, text)
            self.expect_german(3, "ending")

    def test_end_mark_before_a_line_break(self):
        self.translate(4, "Löschen.\\r\\n\\r\\nEs ist weg.")
        self.expect_german(4, "ending")

    def test_full_width_end_marks_count(self):
        for english, text in (("a.", "一。"), ("a?", "一？"), ("a:", "一："), ("a:", "a\u00a0:")):
            self.assertEqual(list(langlint.check_ending(langlint.Pair(1, english, text))), [])

    # doubled

    def test_one_translation_for_two_english_lines(self):
        self.translate(3, GERMAN[0])
        self.assertIn(("German!de.txt", 3, "doubled"), self.findings())

    def test_glossary_allows_a_double(self):
        for name, texts in (("english.txt", ["Stop", "Halt", "folder"]), ("German!de.txt", ["Halt", "Halt", "Ordner"])):
            self.write_lines(name, texts)
        self.write("BuiltInStrings.cpp", built_in(["Stop", "Halt", "folder"]))
        self.write_lines("German!de.glossary.txt", ["folder\tOrdner", "Halt\tHalt"])
        self.expect_german(2, "doubled")
        self.write_lines("German!de.glossary.txt", ["folder\tOrdner", "Halt\tHalt", "= Stop\tHalt"])
        self.assertEqual(self.findings(), [])

    def test_doubled_english_line(self):
        self.write_lines("english.txt", ENGLISH[:4] + [ENGLISH[0]])
        self.assertIn(("english.txt", 5, "doubled"), self.findings())

    # untranslated

    def test_english_line_as_translation(self):
        self.translate(3, "Waiting...")
        self.expect_german(3, "untranslated")

    def test_glossary_allows_the_english_line(self):
        self.assertEqual(GERMAN[4], ENGLISH[4])
        self.write_lines("German!de.glossary.txt", TERMS[:1])
        self.expect_german(5, "untranslated")

    # long-menu

    def test_menu_text_up_to_the_limit(self):
        self.translate(1, "Ordner " + "ö" * (langlint.MENU_COLUMNS - 7))
        self.assertEqual(self.findings(), [])
        self.translate(1, "Ordner " + "ö" * (langlint.MENU_COLUMNS - 6))
        self.expect_german(1, "long-menu")

    def test_names_count_filled_in(self):
        self.assertEqual(langlint.columns("%APPNAME% %APPSHORTNAME%"), len("Nimbrel Veskard Agent Veskard Agent"))

    def test_full_width_characters_take_two_columns(self):
        self.assertEqual(langlint.columns("从此设备。"), 10)

    def test_other_texts_may_be_longer(self):
        self.translate(4, "Löschen?\\r\\n\\r\\nEs ist " + "w" * 80 + ".")
        self.expect_german(4, "long-menu")
        self.write("BuiltInStrings.cpp", built_in(ENGLISH, "Errors"))
        self.assertEqual(self.findings(), [])

    # length

    def room_findings(self, english, text):
        return list(langlint.check_length(langlint.Pair(1, english, text)))

    def test_short_texts_have_room_for_20_columns(self):
        self.assertEqual(self.room_findings("Add folder", "x" * 20), [])
        self.assertEqual(self.room_findings("Add folder", "x" * 21), ["21 columns, 20 fit"])
        self.assertEqual(self.room_findings("Add folder", "文" * 11), ["22 columns, 20 fit"])

    def test_texts_of_middle_length_have_room_for_32_columns(self):
        self.assertEqual(self.room_findings("Folder name", "x" * 32), [])
        self.assertEqual(self.room_findings("Folder name", "x" * 33), ["33 columns, 32 fit"])

    def test_longer_texts_have_room_for_twice_as_much(self):
        self.assertEqual(self.room_findings("Keep all files on this device", "x" * 58), [])
        self.assertEqual(self.room_findings("Keep all files on this device", "x" * 59), ["59 columns, 58 fit"])

    def test_sentences_and_texts_with_values_may_be_longer(self):
        for english in ("It failed.", "Delete?", "Yes\\r\\nNo", "Size: %Z"):
            self.assertEqual(self.room_findings(english, "x" * 99), [], english)

    def test_long_text_of_a_window(self):
        self.write("BuiltInStrings.cpp", built_in(ENGLISH, "Window: add a folder"))
        self.translate(1, "Ordner " + "ö" * 26)
        self.expect_german(1, "length")

    # long-state

    def synced(self, german, *glossary):
        self.write_lines("english.txt", ENGLISH + ["Synced"])
        self.write("BuiltInStrings.cpp", built_in(ENGLISH + ["Synced"]))
        self.write_lines("German!de.txt", GERMAN + [german])
        self.write_lines("German!de.glossary.txt", [*TERMS, *glossary])

    def test_state_up_to_the_limit(self):
        self.synced("S" * langlint.STATE_COLUMNS)
        self.assertEqual(self.findings(), [])
        self.synced("S" * (langlint.STATE_COLUMNS + 1))
        self.expect_german(6, "long-state")

    def test_glossary_allows_a_long_state(self):
        self.synced("S" * (langlint.STATE_COLUMNS + 1), "+ Synced")
        self.assertEqual(self.findings(), [])

    def test_exception_that_is_not_needed(self):
        for text in ("Synced", "Waiting..."):
            self.synced("S" * langlint.STATE_COLUMNS, "+ " + text)
            self.assertEqual(self.findings(), [("German!de.glossary.txt", 3, "glossary")])

    # quotes

    def quote_findings(self, language, text, english='Share "%s"'):
        return list(langlint.check_quotes(langlint.Pair(1, english, text), language))

    def test_straight_quotation_marks(self):
        for text in ('"%s" mit %APPNAME% teilen', "'%s' mit %APPNAME% teilen"):
            self.translate(2, text)
            self.assertEqual(set(self.findings()), {("German!de.txt", 2, "quotes")})

    def test_straight_apostrophe(self):
        self.assertEqual(self.quote_findings("fr", "Nom de l\u2019appareil", "Device name"), [])
        self.assertEqual(self.quote_findings("fr", "Nom de l'appareil", "Device name"), ["the mark '"])

    def test_every_language_has_its_own_quotation_marks(self):
        texts = {"de": "„%s“", "es": "«%s»", "fr": "«\u00a0%s\u00a0»", "it": "«%s»", "ja": "「%s」",
                 "ko": "“%s”", "nl": "‘%s’", "pt": "“%s”", "ru": "«%s»", "zh": "“%s”"}
        self.assertEqual(set(texts), set(langlint.QUOTES))
        for language, marks in langlint.QUOTES.items():
            for text in texts.values():
                is_own = text.replace("\u00a0", "") == marks[0] + "%s" + marks[1]
                self.assertEqual(self.quote_findings(language, text) == [], is_own, (language, text))

    def test_missing_quotation_marks(self):
        for text in ("%s", "„%s", "%s“", "„“", "„%s“ „%s“"):
            self.assertEqual(len(self.quote_findings("de", text)), 1, text)

    def test_apostrophe_is_no_closing_mark(self):
        self.assertEqual(self.quote_findings("nl", "foto’s van ‘%s’"), [])
        self.assertNotEqual(self.quote_findings("nl", "foto’s van ‘%s"), [])
        self.assertNotEqual(self.quote_findings("ru", "’"), [])

    # spaces

    def space_findings(self, language, text):
        return list(langlint.check_spaces(langlint.Pair(1, "x", text), language))

    def test_french_spaces_before_a_mark(self):
        for text in ("Taille\u00a0: %Z", "Continuer\u00a0?", "Oui\u00a0!", "« %s »".replace(" ", "\u00a0")):
            self.assertEqual(self.space_findings("fr", text), [])
            for wrong in (text.replace("\u00a0", " "), text.replace("\u00a0", "")):
                self.assertNotEqual(self.space_findings("fr", wrong), [], wrong)

    def test_no_space_before_a_mark_elsewhere(self):
        for language, text in (("de", "Größe: %Z"), ("es", "«%s»"), ("ru", "Продолжить?"), ("it", "«%s»: %s")):
            self.assertEqual(self.space_findings(language, text), [])
        for text in ("Größe : %Z", "Größe\u00a0: %Z", "Fortfahren ?", "„ %s“", "„%s “"):
            self.assertNotEqual(self.space_findings("de", text), [], text)

    def test_doubled_blank(self):
        for language in ("de", "fr", "ja"):
            self.assertNotEqual(self.space_findings(language, "a  b"), [])

    def test_space_in_a_file(self):
        self.translate(4, "Löschen ?\\r\\n\\r\\nEs ist weg.")
        self.expect_german(4, "spaces")

    # ampersand

    def test_lone_ampersand(self):
        for text in ("&Ordner öffnen", "Ordner & öffnen", "Ordner &&& öffnen", "Ordner öffnen &"):
            self.translate(1, text)
            self.expect_german(1, "ampersand")

    def test_doubled_ampersand_only_in_a_menu(self):
        self.translate(1, "Ordner && öffnen")
        self.assertEqual(self.findings(), [])
        self.write("BuiltInStrings.cpp", built_in(ENGLISH, "Errors"))
        self.expect_german(1, "ampersand")

    # script

    def test_foreign_letters(self):
        for text in ("Ordner öffnеn", "Ordner öffñen", "Ordner 開く"):  # the first has a Cyrillic е
            self.translate(1, text)
            self.assertEqual(set(self.findings()), {("German!de.txt", 1, "script")})

    def test_single_character_ellipsis(self):
        self.translate(3, "Wartet…")
        self.assertIn(("German!de.txt", 3, "script"), self.findings())

    def script_findings(self, language, text, english="IP address"):
        glossary = langlint.Glossary()
        return list(langlint.check_script(langlint.Pair(1, english, text), language, glossary))

    def test_abbreviations_of_the_english_line_are_known(self):
        for language, text in (("ru", "IP-адрес"), ("ja", "IP アドレス"), ("ko", "IP 주소"), ("zh", "IP 地址")):
            self.assertEqual(self.script_findings(language, text), [])
        self.assertEqual(langlint.abbreviations("Limit to (kB/s), QR code, OK"), {"kB", "QR", "OK"})

    def test_seconds_of_a_speed_are_known(self):
        self.assertEqual(self.script_findings("ja", "上限 (kB/s):", "Limit (kB/s):"), [])
        self.assertNotEqual(self.script_findings("ja", "上限 (s):", "Limit (s):"), [])

    def test_other_latin_words(self):
        for language, text in (("ru", "Aдpec"), ("ja", "address"), ("ko", "IPv 주소"), ("zh", "IP 地址 OK")):
            self.assertNotEqual(self.script_findings(language, text), [])

    def test_latin_words_of_the_glossary_are_known(self):
        glossary = langlint.Glossary()
        glossary.terms.append(langlint.Term(1, ["feedback"], ["отзыв Feedback"]))
        self.assertEqual(list(langlint.check_script(langlint.Pair(1, "x", "Feedback"), "ru", glossary)), [])

    def test_scripts_are_told_apart(self):
        for language, text in (("zh", "のア"), ("ja", "한"), ("ko", "地址"), ("ru", "і"), ("fr", "ß"), ("nl", "õ")):
            self.assertNotEqual(self.script_findings(language, text), [], language)

    def test_unknown_language(self):
        self.assertEqual(len(self.script_findings("xx", "text")), 1)

    # glossary

    def test_broken_term(self):
        self.translate(1, "Verzeichnis öffnen")
        self.expect_german(1, "glossary")

    def test_terms_are_whole_words_and_may_have_a_plural_s(self):
        pattern = langlint.term_pattern("folder")
        for text in ("folder", "Folders: %d", '"folder"', "a folder."):
            self.assertTrue(pattern.search(text), text)
        for text in ("subfolder", "foldered", "folder_"):
            self.assertFalse(pattern.search(text), text)

    def test_longer_terms_cover_shorter_ones(self):
        self.write_lines("German!de.glossary.txt", TERMS + ["Open folder\tVerzeichnis"])
        self.translate(1, "Verzeichnis öffnen")
        self.assertEqual(self.findings(), [])

    def test_any_accepted_form_counts_in_any_case(self):
        self.write_lines("German!de.glossary.txt", ["folder\tMappe | ordner", "OK\tOK"])
        self.assertEqual(self.findings(), [])

    def test_forbidden_word(self):
        self.write_lines("German!de.glossary.txt", TERMS + ["! dein | Öffnen"])
        self.expect_german(1, "glossary")

    def test_forbidden_words_are_whole_words(self):
        self.write_lines("German!de.glossary.txt", TERMS + ["! öff"])
        self.assertEqual(self.findings(), [])
        self.assertTrue(langlint.has_word("从此设备移除", "设备"))

    def test_missing_term(self):
        self.write_lines("German!de.glossary.txt", TERMS[1:])
        self.assertEqual(self.findings(), [("German!de.glossary.txt", 1, "glossary")])

    def test_term_that_never_occurs(self):
        self.write_lines("German!de.glossary.txt", TERMS + ["peer\tPeer"])
        self.assertEqual(self.findings(), [("German!de.glossary.txt", 3, "glossary")])

    def test_remove_and_delete_are_kept_apart(self):
        english = ENGLISH[:4] + ["Remove"]
        self.write_lines("english.txt", english)
        self.write("BuiltInStrings.cpp", built_in(english))
        self.write_lines("German!de.txt", GERMAN[:4] + ["Entfernen"])
        self.write_lines("German!de.glossary.txt", TERMS[:1] + ["remove\tlösch | entfern", "delete\tLösch"])
        self.assertEqual(self.findings(), [("German!de.glossary.txt", 3, "glossary")])
        self.write_lines("German!de.glossary.txt", TERMS[:1] + ["remove\tentfern", "delete\tLösch"])
        self.assertEqual(self.findings(), [])

    def test_line_without_a_meaning(self):
        self.write_lines("German!de.glossary.txt", TERMS + ["peer = Peer"])
        self.assertEqual(self.findings(), [("German!de.glossary.txt", 3, "glossary")])

    def test_missing_glossary(self):
        os.remove(self.path("German!de.glossary.txt"))
        self.assertIn(("German!de.glossary.txt", 1, "glossary"), self.findings())

    # built-in

    def test_english_line_that_is_no_built_in_text(self):
        self.write("BuiltInStrings.cpp", built_in(ENGLISH[1:]))
        self.assertEqual(self.findings(), [("english.txt", 1, "built-in")])

    def test_built_in_text_without_an_english_line(self):
        self.write("BuiltInStrings.cpp", built_in(ENGLISH + ["More"]))
        self.assertEqual(self.findings(), [("english.txt", 5, "built-in")])

    def test_built_in_text_may_stand_twice(self):
        self.write("BuiltInStrings.cpp", built_in(ENGLISH + ENGLISH[:1]))
        self.assertEqual(self.findings(), [])

    # the program

    def run_main(self, *arguments):
        out = io.StringIO()
        with redirect_stdout(out), redirect_stderr(io.StringIO()):
            status = langlint.main(list(arguments))
        return status, out.getvalue()

    def test_good_folder_ends_with_0(self):
        self.assertEqual(self.run_main(self.folder.name, self.path("BuiltInStrings.cpp")), (0, ""))

    def test_findings_name_file_line_and_rule(self):
        self.translate(3, "Wartet")
        self.assertEqual(self.run_main(self.folder.name, self.path("BuiltInStrings.cpp")),
                         (1, 'German!de.txt:3: ending: ends with "" instead of "..."\n'))

    def test_what_cannot_run_ends_with_2(self):
        self.assertEqual(self.run_main()[0], 2)
        self.assertEqual(self.run_main(self.path("nowhere"))[0], 2)


class ShippedFilesTest(unittest.TestCase):
    """Damages one line of a copy of the files that ship, in every language."""

    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = os.path.join(temporary.name, "archive")
        shutil.copytree(SHIPPED, self.folder)
        self.english = self.lines("english.txt")
        texts = langlint.read_built_in(os.path.join(SHIPPED, "..", "BuiltInStrings.cpp"))
        self.menu_texts = texts[1]
        self.required = langlint.read_glossary(self.folder, "english.glossary.txt", [])

    def lines(self, name):
        with open(os.path.join(self.folder, name), encoding="utf-8") as file:
            return file.read().splitlines()

    def expect_finding(self, rule, line_of, damage, languages=None):
        """Damages the line that line_of finds in each language; that line gets a finding of the rule."""
        names = langlint.language_files(self.folder)
        self.assertEqual(len(names), 10)
        for name in names:
            if languages and langlint.language_of(name) not in languages:
                continue
            with self.subTest(name):
                whole = self.lines(name)
                line = next(n for n, (english, text) in enumerate(zip(self.english, whole)) if line_of(english, text))
                damaged = damage(whole[line])
                self.assertNotEqual(damaged, whole[line])
                self.write(name, whole[:line] + [damaged] + whole[line + 1:])
                found = langlint.check_language(self.folder, name, self.english, self.required, self.menu_texts)
                self.write(name, whole)
                self.assertIn((name, line + 1, rule), [(f.file, f.line, f.rule) for f in found])

    def write(self, name, lines):
        with open(os.path.join(self.folder, name), "w", encoding="utf-8", newline="") as file:
            file.write("".join(line + "\n" for line in lines))

    @staticmethod
    def english_is(wanted):
        return lambda english, text: english == wanted

    def test_states_are_lines_of_the_files(self):
        self.assertEqual(langlint.STATES - set(self.english), set())

    def test_straight_quotation_marks(self):
        self.expect_finding("quotes", lambda english, text: '"%s"' in english,
                            lambda text: re.sub("[„“”‘’«»「」]", '"', text))

    def test_marks_of_another_language(self):
        self.expect_finding("quotes", lambda english, text: '"%s"' in english,
                            lambda text: re.sub("[„“”‘’«»「」]", "›", text))

    def test_straight_apostrophes(self):
        self.expect_finding("quotes", lambda english, text: "l’" in text.lower(),
                            lambda text: text.replace("’", "'"), languages=("fr", "it"))

    def test_french_blanks(self):
        for wrong in (" ", ""):
            for mark in (":", "?", "»"):
                self.expect_finding("spaces", lambda english, text: "\u00a0" + mark in text,
                                    lambda text: text.replace("\u00a0" + mark, wrong + mark), languages=("fr",))

    def test_blank_before_a_colon(self):
        self.expect_finding("spaces", lambda english, text: re.search("[:：]", text),
                            lambda text: re.sub("\u00a0?([:：])", r" \1", text))

    def test_lone_ampersand(self):
        for english in ("Open folder", "Unknown error %d."):
            self.expect_finding("ampersand", self.english_is(english), lambda text: "&" + text)

    def test_long_button(self):
        self.expect_finding("length", self.english_is("Cancel"), lambda text: text * 6)

    def test_long_menu_text(self):
        self.expect_finding("long-menu", self.english_is("Share with %APPNAME%"), lambda text: text + "文" * 20)

    def test_long_state(self):
        self.expect_finding("long-state", self.english_is("Paused"), lambda text: text + "文" * 8)


if __name__ == "__main__":
    unittest.main()
