#!/usr/bin/env python3
"""Checks the translations: langlint.py FOLDER [BUILT_IN_STRINGS_CPP]

FOLDER holds english.txt, one NAME!CODE.txt and one NAME!CODE.glossary.txt for
each language, and english.glossary.txt. The C++ file is the list of built-in
texts, ../BuiltInStrings.cpp seen from the folder unless given. Prints one line
for each finding:

    German!de.txt:17: placeholder: "%s" of the English line is missing

The rules:

    encoding      UTF-8, no byte-order mark, line feeds, no control characters
    parity        as many lines as english.txt
    blank         no blank line
    placeholder   %APPNAME%, %APPSHORTNAME%, %s, %d, %Z as in the English line
    escape        \\r\\n as in the English line, no other backslash, no doubled bar
    edge-blank    no blank at either end of a line
    ending        the same mark at the end as in the English line
    doubled       no English line twice, no translation for two English lines
    untranslated  no English line as its own translation
    quotes        the language's own quotation marks where English has quotes, no
                  straight quotation mark and no straight apostrophe
    spaces        no-break spaces around French marks, no blank before other
                  languages' marks, no doubled blank
    ampersand     no "&" by itself, and a doubled one only in a menu
    long-menu     no menu text of more than MENU_COLUMNS columns
    long-state    no one-word state of more than STATE_COLUMNS columns, unless the
                  glossary allows it
    length        no other label of more columns than its English line leaves room
                  for: 20 up to 10 columns, 32 up to 16, then twice as many
    script        only characters of the language's script
    glossary      every term translated as the glossary says, no forbidden word,
                  "remove" and "delete" kept apart
    built-in      english.txt holds every built-in text and no other

Exit codes: 0 no finding; 1 findings; 2 wrong command line, or a file is missing.
"""

import functools
import os
import re
import sys
import unicodedata
from collections import Counter, namedtuple

# What fits beside the icon of a menu on a small screen. A full-width character
# takes two columns; names are filled in before counting.
MENU_COLUMNS = 48

# The states of one word, and the room that a status column has for them.
STATES = {"Connecting...", "Disconnected", "Offline", "Online", "Paused", "Preparing...", "Synced"}
STATE_COLUMNS = 15

NAMES = {"%APPNAME%": "Nimbrel Veskard Agent", "%APPSHORTNAME%": "Veskard Agent"}
NAME_PLACEHOLDER = re.compile(r"%APPNAME%|%APPSHORTNAME%")
VALUE_PLACEHOLDER = re.compile(r"%[sdZ]")
PLACEHOLDER = re.compile(NAME_PLACEHOLDER.pattern + "|" + VALUE_PLACEHOLDER.pattern)
ESCAPE = re.compile(r"\\r\\n")
PER_SECOND = re.compile(r"/s\b")

# The marks that a line may end with; a language's own form stands for the English one.
END_MARKS = (("...", ("...",)), (":", (":", "：")), ("?", ("?", "？")), (".", (".", "。")))

DASHES = "–—"
ALL_QUOTES = "\"'‘’‚‛“”„‟«»‹›「」『』"
APOSTROPHE = "’"
NO_BREAK_SPACE = "\u00a0"

# The opening and the closing quotation mark of each language.
QUOTES = {"de": "„“", "es": "«»", "fr": "«»", "it": "«»", "ja": "「」",
          "ko": "“”", "nl": "‘’", "pt": "“”", "ru": "«»", "zh": "“”"}

CJK = "\u4e00-\u9fff"
CJK_MARKS = "\u3001-\u3003\u3008-\u3011\u3014\u3015\uff01-\uff5e"
ASCII_WITHOUT_LETTERS = " -@\\[-`{-~"

# The characters of each language beyond printable ASCII, as the inside of a
# regular expression's character class. Where Latin letters are foreign, only the
# abbreviations of the English line and the words of the glossary have them.
LATIN_SCRIPTS = {
    "de": "äöüÄÖÜß",
    "es": "áéíóúüñÁÉÍÓÚÜÑ¿¡",
    "fr": "àâæçèéêëîïôœùûüÿÀÂÆÇÈÉÊËÎÏÔŒÙÛÜŸ\u00a0",
    "it": "àèéìíîòóùúÀÈÉÌÍÎÒÓÙÚ",
    "nl": "áäèéêëíïóöúüÁÄÈÉÊËÍÏÓÖÚÜ",
    "pt": "áâãàçéêíóôõúÁÂÃÀÇÉÊÍÓÔÕÚ",
}
OTHER_SCRIPTS = {
    "ja": "\u3041-\u3096\u30a1-\u30fc々" + CJK + CJK_MARKS,
    "ko": "\uac00-\ud7a3·",
    "ru": "а-яёА-ЯЁ\u00a0№",
    "zh": CJK + CJK_MARKS + "·",
}

Finding = namedtuple("Finding", "file line rule message")
Pair = namedtuple("Pair", "line english text")
Term = namedtuple("Term", "line english forms")


class Glossary:
    """The terms, the allowed doubles, the long states and the forbidden words of one language."""

    def __init__(self):
        self.terms = []
        self.doubles = set()
        self.long_states = {}  # English line: line of the glossary
        self.forbidden = []

    def accepted_words(self):
        """The Latin words of all accepted forms."""
        return {word for term in self.terms for form in term.forms for word in latin_words(form)}


def split_forms(text):
    return [form.strip() for form in text.split(" | ") if form.strip()]


def latin_words(text):
    return re.findall(r"[A-Za-z]+", text)


def abbreviations(text):
    """The words of an English line that every language keeps: IP, QR, kB."""
    return {word for word in latin_words(text) if word.isupper() or word[1:] != word[1:].lower()}


def columns(text):
    for placeholder, name in NAMES.items():
        text = text.replace(placeholder, name)
    return sum(2 if unicodedata.east_asian_width(character) in "WF" else 1 for character in text)


def end_mark(text):
    """The English form of the mark that a text ends with, or nothing."""
    for mark, forms in END_MARKS:
        if text.endswith(forms):
            return mark
    return ""


def language_of(name):
    return name.rsplit("!", 1)[1][:2]


def glossary_of(name):
    return name[:-len(".txt")] + ".glossary.txt"


# --- Reading ----------------------------------------------------------------


def read_lines(folder, name, findings):
    """The lines of a file; what is wrong with its bytes goes to the findings."""
    with open(os.path.join(folder, name), "rb") as file:
        data = file.read()
    if data.startswith(b"\xef\xbb\xbf"):
        findings.append(Finding(name, 1, "encoding", "begins with a byte-order mark"))
        data = data[3:]
    if not data.endswith(b"\n"):
        findings.append(Finding(name, data.count(b"\n") + 1, "encoding", "the last line has no line feed"))
        data += b"\n"
    lines = []
    for number, raw in enumerate(data[:-1].split(b"\n"), 1):
        try:
            line = raw.decode("utf-8")
        except UnicodeDecodeError:
            findings.append(Finding(name, number, "encoding", "is not UTF-8"))
            line = raw.decode("utf-8", "replace")
        is_tabbed = name.endswith(".glossary.txt")
        controls = [c for c in line if unicodedata.category(c) in ("Cc", "Cf") and not (is_tabbed and c == "\t")]
        if controls:
            findings.append(Finding(name, number, "encoding", f"has the control character U+{ord(controls[0]):04X}"))
        lines.append(line)
    return lines


def read_glossary(folder, name, findings):
    glossary = Glossary()
    if not os.path.exists(os.path.join(folder, name)):
        findings.append(Finding(name, 1, "glossary", "the file is missing"))
        return glossary
    for number, line in enumerate(read_lines(folder, name, findings), 1):
        left, tab, right = line.partition("\t")
        if not line.strip() or line.startswith("#"):
            continue
        if line.startswith("! ") and not tab:
            glossary.forbidden += split_forms(line[2:])
        elif line.startswith("+ ") and not tab:
            glossary.long_states[line[2:].strip()] = number
        elif line.startswith("= ") and right:
            glossary.doubles.add(frozenset((left[2:].strip(), right.strip())))
        elif split_forms(left) and split_forms(right):
            glossary.terms.append(Term(number, split_forms(left), split_forms(right)))
        else:
            findings.append(Finding(name, number, "glossary", "is neither a term nor a line with =, + or !"))
    return glossary


def read_groups(path):
    """The groups of built-in texts, each with its comment and its texts."""
    groups = []
    with open(path, encoding="ascii") as file:
        for line in file:
            comment = re.match(r"\s+// \d+: (.*)", line)
            literal = re.match(r'\s+"(.*?)(?:\\0)?";?$', line)
            if comment:
                groups.append((comment[1], []))
            elif literal and groups:
                groups[-1][1].append(literal[1].replace('\\"', '"'))
    return groups


def read_built_in(path):
    """The built-in texts as lines, and which of them are menu texts."""
    groups = read_groups(path)
    texts = [text for _, group in groups for text in group]
    return texts, {text for comment, group in groups if "menu" in comment for text in group}


# --- The rules of one line --------------------------------------------------
# Each gets a pair and yields the messages of its findings.


def check_placeholders(pair):
    expected = Counter(NAME_PLACEHOLDER.findall(pair.english))
    found = Counter(NAME_PLACEHOLDER.findall(pair.text))
    for name in sorted(set(expected) | set(found)):
        if expected[name] != found[name]:
            yield f'"{name}" {found[name]} times instead of {expected[name]}'
    expected_values = VALUE_PLACEHOLDER.findall(NAME_PLACEHOLDER.sub("", pair.english))
    values = VALUE_PLACEHOLDER.findall(NAME_PLACEHOLDER.sub("", pair.text))
    if expected_values != values:
        yield f'"{" ".join(values)}" instead of "{" ".join(expected_values)}"'
    if "%" in PLACEHOLDER.sub("", pair.text):
        yield "a % that belongs to no placeholder"


def check_escapes(pair):
    expected, found = len(ESCAPE.findall(pair.english)), len(ESCAPE.findall(pair.text))
    if expected != found:
        yield f"{found} line breaks instead of {expected}"
    if "\\" in ESCAPE.sub("", pair.text):
        yield "a backslash that belongs to no \\r\\n"
    if "||" in pair.text:
        yield "a doubled bar"


def check_edges(pair):
    if pair.text != pair.text.strip():
        yield "a blank at an end of the line"
    if re.search(r"\s\\r|\\n\s", pair.text):
        yield "a blank beside a line break"


def check_ending(pair):
    for english, text in zip(ESCAPE.split(pair.english), ESCAPE.split(pair.text)):
        if end_mark(english) != end_mark(text):
            yield f'ends with "{end_mark(text)}" instead of "{end_mark(english)}"'


def check_quotes(pair, language):
    opening, closing = QUOTES.get(language, "“”")
    own = {opening, closing} | ({APOSTROPHE} if language in LATIN_SCRIPTS else set())
    for mark in sorted(set(ALL_QUOTES) & set(pair.text) - own):
        yield f"the mark {mark}"
    expected = pair.english.count('"') // 2
    found = len(re.findall(f"{opening}[^{opening}]+?{closing}", pair.text))
    if found != expected or pair.text.count(opening) != expected:
        yield f"{found} texts in {opening}{closing} instead of {expected}"


def check_spaces(pair, language):
    if re.search(r"\s\s", pair.text):
        yield "a doubled blank"
    if language == "fr":
        if re.search(f"[^{NO_BREAK_SPACE}:;?!][:;?!]|[^{NO_BREAK_SPACE}]»|«[^{NO_BREAK_SPACE}]", pair.text):
            yield "a mark without its no-break space"
        return
    if re.search(r"\s[:;?!：；？！]", pair.text):
        yield "a blank before a mark"
    opening, closing = QUOTES.get(language, "“”")
    if re.search(rf"{opening}\s|\s{closing}", pair.text):
        yield "a blank inside quotation marks"


def check_ampersands(pair, in_menu):
    if "&" in pair.text.replace("&&", ""):
        yield "a menu underlines the character after a single &"
    elif "&" in pair.text and not in_menu:
        yield "a doubled &, which only a menu shows as one"


def check_columns(pair, room):
    if columns(pair.text) > room:
        yield f"{columns(pair.text)} columns, {room} fit"


def check_length(pair):
    """Labels only: sentences wrap, and values are of any length."""
    if ESCAPE.search(pair.english) or VALUE_PLACEHOLDER.search(pair.english) or end_mark(pair.english) in (".", "?"):
        return
    length = columns(pair.english)
    yield from check_columns(pair, 20 if length <= 10 else max(32, 2 * length))


def check_script(pair, language, glossary):
    text = ESCAPE.sub("", PLACEHOLDER.sub("", pair.text))
    if language in LATIN_SCRIPTS:
        allowed = " -~" + LATIN_SCRIPTS[language]
    elif language in OTHER_SCRIPTS:
        allowed = ASCII_WITHOUT_LETTERS + OTHER_SCRIPTS[language]
        known = abbreviations(pair.english) | glossary.accepted_words()
        for word in latin_words(PER_SECOND.sub("", text)):
            if word not in known:
                yield f'the Latin word "{word}"'
        text = re.sub("[A-Za-z]", "", text)
    else:
        yield f'langlint does not know the script of "{language}"'
        return
    for character in sorted(set(re.sub(f"[{allowed}{DASHES}{ALL_QUOTES}]", "", text))):
        yield f'the character "{character}" (U+{ord(character):04X})'


@functools.lru_cache(maxsize=None)
def term_pattern(english):
    """A term as a whole word, a plural s allowed."""
    start = r"(?<!\w)" if english[0].isalnum() else ""
    end = r"s?(?!\w)" if english[-1].isalnum() else ""
    return re.compile(start + re.escape(english) + end, re.IGNORECASE)


def terms_in(english, glossary):
    """The terms of an English line, longer ones first and covering the shorter."""
    candidates = [(form, term) for term in glossary.terms for form in term.english]
    rest = english
    for form, term in sorted(candidates, key=lambda candidate: -len(candidate[0])):
        rest, count = term_pattern(form).subn(lambda match: "\0" * len(match[0]), rest)
        if count:
            yield form, term


def has_word(text, word):
    """Whether a word occurs; where words are not set apart by blanks, anywhere."""
    if any(unicodedata.east_asian_width(character) == "W" for character in word):
        return word in text
    return re.search(r"(?<!\w)" + re.escape(word) + r"(?!\w)", text, re.IGNORECASE) is not None


def check_glossary(pair, glossary):
    folded = pair.text.casefold()
    for english, term in terms_in(pair.english, glossary):
        if not any(form.casefold() in folded for form in term.forms):
            yield f'"{english}" is not translated as "{" | ".join(term.forms)}"'
    for word in glossary.forbidden:
        if has_word(PLACEHOLDER.sub("", pair.text), word):
            yield f'the word "{word}"'


def check_untranslated(pair, glossary):
    covered = any(term_pattern(form).fullmatch(pair.english) for term in glossary.terms for form in term.english)
    if pair.text == pair.english and not covered:
        yield "is the English line; the glossary can allow it"


# --- The rules of a file ----------------------------------------------------


def check_glossary_file(name, glossary, required, english_lines):
    known = {form.casefold() for term in glossary.terms for form in term.english}
    for term in required.terms:
        if term.english[0].casefold() not in known:
            yield Finding(name, 1, "glossary", f'the term "{term.english[0]}" is missing')
    for term in glossary.terms:
        for form in term.english:
            if not any(term_pattern(form).search(line) for line in english_lines):
                yield Finding(name, term.line, "glossary", f'the term "{form}" occurs in no English line')
    yield from check_remove_and_delete(name, glossary)


def check_remove_and_delete(name, glossary):
    first_forms = {}
    for term in glossary.terms:
        if term.english[0].casefold() in ("remove", "delete"):
            other = first_forms.setdefault(term.forms[0].casefold(), term)
            if other is not term:
                yield Finding(name, term.line, "glossary", f'"{term.english[0]}" is the same as "{other.english[0]}"')


def check_long_states(name, pairs, glossary):
    """States that are too long without the glossary's leave, and leave that no state needs."""
    needed = set()
    for pair in pairs:
        if pair.english not in STATES:
            continue
        for message in check_columns(pair, STATE_COLUMNS):
            needed.add(pair.english)
            if pair.english not in glossary.long_states:
                yield Finding(name, pair.line, "long-state", message)
    for english, line in glossary.long_states.items():
        if english not in needed:
            yield Finding(glossary_of(name), line, "glossary", f'"{english}" needs no exception: it fits, or is no state')


def check_doubled(name, pairs, glossary):
    first = {}
    for pair in pairs:
        other = first.setdefault(pair.text, pair)
        if other.english != pair.english and frozenset((other.english, pair.english)) not in glossary.doubles:
            yield Finding(name, pair.line, "doubled", f"the same text as line {other.line}")


def check_line(pair, language, glossary, menu_texts):
    """The findings of one translation, as rule and message."""
    in_menu = pair.english in menu_texts
    checks = [
        ("placeholder", check_placeholders(pair)),
        ("escape", check_escapes(pair)),
        ("edge-blank", check_edges(pair)),
        ("ending", check_ending(pair)),
        ("untranslated", check_untranslated(pair, glossary)),
        ("quotes", check_quotes(pair, language)),
        ("spaces", check_spaces(pair, language)),
        ("ampersand", check_ampersands(pair, in_menu)),
        ("script", check_script(pair, language, glossary)),
        ("glossary", check_glossary(pair, glossary)),
    ]
    if in_menu:
        checks.append(("long-menu", check_columns(pair, MENU_COLUMNS)))
    else:
        checks.append(("length", check_length(pair)))
    for rule, messages in checks:
        for message in messages:
            yield rule, message


def check_language(folder, name, english, required, menu_texts):
    findings = []
    lines = read_lines(folder, name, findings)
    glossary_name = glossary_of(name)
    glossary = read_glossary(folder, glossary_name, findings)
    findings += check_glossary_file(glossary_name, glossary, required, english)
    if len(lines) != len(english):
        findings.append(Finding(name, min(len(lines), len(english)) + 1, "parity",
                                f"{len(lines)} lines instead of {len(english)}"))
    pairs = []
    for number, (english_line, line) in enumerate(zip(english, lines), 1):
        if line.strip():
            pairs.append(Pair(number, english_line, line))
        else:
            findings.append(Finding(name, number, "blank", "the line is blank"))
    for pair in pairs:
        for rule, message in check_line(pair, language_of(name), glossary, menu_texts):
            findings.append(Finding(name, pair.line, rule, message))
    findings += check_doubled(name, pairs, glossary)
    findings += check_long_states(name, pairs, glossary)
    return findings


def check_english(lines, built_in, required):
    name, seen = "english.txt", {}
    for number, line in enumerate(lines, 1):
        pair = Pair(number, line, line)
        if not line.strip():
            yield Finding(name, number, "blank", "the line is blank")
        if not line.isascii():
            yield Finding(name, number, "script", "is not ASCII")
        for rule, messages in (("placeholder", check_placeholders(pair)), ("escape", check_escapes(pair)),
                               ("edge-blank", check_edges(pair))):
            for message in messages:
                yield Finding(name, number, rule, message)
        if seen.setdefault(line, number) != number:
            yield Finding(name, number, "doubled", f"the same text as line {seen[line]}")
        if line not in built_in:
            yield Finding(name, number, "built-in", "is no built-in text")
    for text in built_in:
        if text not in seen:
            yield Finding(name, len(lines), "built-in", f'the built-in text "{text}" is missing')
    yield from check_glossary_file("english.glossary.txt", required, Glossary(), lines)


def language_files(folder):
    return sorted(name for name in os.listdir(folder)
                  if re.search(r"!([a-z]{2}|[a-z]{2}[A-Z]{2})\.txt$", name))


def check_folder(folder, built_in_path):
    findings = []
    built_in, menu_texts = read_built_in(built_in_path)
    english = read_lines(folder, "english.txt", findings)
    required = read_glossary(folder, "english.glossary.txt", findings)
    findings += check_english(english, built_in, required)
    for name in language_files(folder):
        findings += check_language(folder, name, english, required, menu_texts)
    return findings


def main(arguments):
    if arguments and arguments[0] in ("-h", "--help"):
        print(__doc__)
        return 0
    if len(arguments) not in (1, 2):
        print("langlint: expected arguments: FOLDER [BUILT_IN_STRINGS_CPP] (see langlint.py --help)", file=sys.stderr)
        return 2
    folder = arguments[0]
    built_in_path = arguments[1] if len(arguments) == 2 else os.path.join(folder, "..", "BuiltInStrings.cpp")
    try:
        findings = check_folder(folder, built_in_path)
    except OSError as error:
        print(f"langlint: {error}", file=sys.stderr)
        return 2
    for finding in findings:
        print(f"{finding.file}:{finding.line}: {finding.rule}: {finding.message}")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
