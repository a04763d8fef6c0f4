"""The page for translators against the language files:
translating_page_test.py FOLDER_OF_LANGLINT LANGUAGE_FOLDER PAGE
"""

import os
import re
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, sys.argv.pop(1))
import langlint  # noqa: E402

FOLDER = sys.argv.pop(1)
PAGE = sys.argv.pop(1)


def read_lines(path):
    with open(path, encoding="utf-8") as file:
        return file.read().splitlines()


class TranslatingPageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.english = read_lines(os.path.join(FOLDER, "english.txt"))
        cls.page = read_lines(PAGE)

    def rows(self, first, second):
        """The rows of the table with these first two headings, as lists of cells."""
        start = next(n for n, line in enumerate(self.page) if line.startswith(f"| {first} | {second} |"))
        rows = []
        for line in self.page[start + 2:]:
            if not line.startswith("|"):
                break
            rows.append([cell.strip() for cell in line.strip("|").split(" | ")])
        return rows

    def test_every_line_has_its_place(self):
        following = 1
        for lines, *_ in self.rows("Lines", "Place"):
            first, _, last = lines.partition("–")
            self.assertEqual(int(first), following)
            following = int(last or first) + 1
        self.assertEqual(following, len(self.english) + 1)

    def test_places_begin_and_end_with_a_group_of_texts(self):
        """A text that the source file has in several groups counts for the first one."""
        first_lines, seen = [], set()
        for _, texts in langlint.read_groups(os.path.join(FOLDER, "..", "BuiltInStrings.cpp")):
            fresh = [text for text in texts if text not in seen]
            seen.update(fresh)
            first_lines.append(self.english.index(fresh[0]) + 1)
        self.assertEqual([int(lines.partition("–")[0]) for lines, *_ in self.rows("Lines", "Place")], first_lines)

    def test_every_value_is_explained(self):
        explained = {}
        for lines, value in self.rows("Lines", "Value"):
            for line in lines.split(", "):
                explained[int(line)] = re.findall("`(%[sdZ])`", value)
        expected = {number: langlint.VALUE_PLACEHOLDER.findall(langlint.NAME_PLACEHOLDER.sub("", text))
                    for number, text in enumerate(self.english, 1)}
        self.assertEqual(explained, {number: values for number, values in expected.items() if values})

    def test_texts_stand_at_their_lines(self):
        rows = self.rows("Line", "Text")
        self.assertGreater(len(rows), 20)
        for line, text, _ in rows:
            self.assertEqual(self.english[int(line) - 1], text.strip("`"))

    def test_every_rule_is_explained(self):
        rules = set(re.findall(r"^    ([a-z-]+) {2,}\S", langlint.__doc__, re.MULTILINE))
        section = "\n".join(self.page).partition("## The rules")[2].partition("\n## ")[0]
        explained = re.findall(r"\(`([a-z-]+)`\)", section)
        self.assertEqual(sorted(explained), sorted(rules))

    def test_limits_are_those_that_are_checked(self):
        text = "\n".join(self.page)
        self.assertIn(f"at most {langlint.MENU_COLUMNS} columns", text)
        self.assertIn(f"has room for {langlint.STATE_COLUMNS}:", text)
        self.assertIn("have 20 columns where English has up to 10, 32 where it has up to 16, and then twice as many", text)

    def test_every_language_has_its_row(self):
        rows = self.rows("Language", "Address")
        self.assertEqual([row[0] for row in rows],
                         [name.partition("!")[0] for name in langlint.language_files(FOLDER)])
        for row, name in zip(rows, langlint.language_files(FOLDER)):
            opening, closing = langlint.QUOTES[langlint.language_of(name)]
            self.assertEqual(re.sub(r"[`\s]", "", row[2]), f"{opening}%s{closing}", name)

    def test_check_file_holds_english_lines(self):
        sample = "\n".join(self.page).split("```")[1].strip().split("\n\n")
        for pair in sample:
            self.assertIn(pair.split("\n")[0], self.english)


if __name__ == "__main__":
    unittest.main()
