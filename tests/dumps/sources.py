"""What the tests of dumps and symbols expect of the sources."""


def line_of(path, text):
    """The number of the one line of a source that holds the text."""
    with open(path, encoding="utf-8") as file:
        found = [number for number, line in enumerate(file, 1) if text in line]
    if len(found) != 1:
        raise AssertionError(f"{path} has {len(found)} lines with {text}")
    return found[0]
