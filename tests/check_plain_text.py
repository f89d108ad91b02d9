#!/usr/bin/env python3
"""Fails when a QML Text or Label shows anything but fixed words without saying how to read
it. Text's default reads anything that looks like markup as markup, so a title, a name, a
server's error or an update feed's version holding `<img src=…>` would be drawn styled and
make the program fetch that address. Every one bound to data declares its `textFormat`:
Text.PlainText, or a reviewed exception that cleans what it shows first.

check_plain_text.py SRC
"""
import os, re, sys

OPENING = re.compile(r"^\s*(?:component\s+\w+\s*:\s*|[\w.]+\s*:\s*)?(?:Text|Label)\s*\{")
STRING = re.compile(r'"(?:\\.|[^"\\])*"')
# Fixed words: string literals, maybe joined with +, maybe a ternary between literals.
FIXED = re.compile(r'^(?:"(?:\\.|[^"\\])*"|[\s+?:]|"")+$')


def blocks(lines):
    """(first line number, the block's own lines at its top level) for each Text and Label."""
    for start, line in enumerate(lines):
        if not OPENING.match(line):
            continue
        depth, own = 0, []
        for number in range(start, len(lines)):
            text = STRING.sub('""', lines[number].split("//")[0])
            if depth == 1 or number == start:
                own.append(text.split("{", 1)[1] if number == start else text)
            depth += text.count("{") - text.count("}")
            if depth <= 0:
                break
        yield start + 1, own


def unplain(path):
    with open(path, encoding="utf-8") as f:
        lines = f.read().splitlines()
    raw = {number: line for number, line in enumerate(lines, 1)}
    for number, own in blocks(lines):
        body = " ".join(own)
        if "textFormat" in body:
            continue
        binding = re.search(r"(?:^|[;\s])text\s*:\s*(.*?)(?:;|$)", body)
        if not binding:
            continue
        # The binding's real text, literals kept, to tell fixed words from data.
        start = number - 1 + next(i for i, part in enumerate(own) if re.search(r"(?:^|[;\s])text\s*:", part))
        value = re.split(r"\btext\s*:\s*", raw[start + 1], 1)[-1].split(";")[0].strip()
        if not FIXED.match(value):
            yield number, value


def main(src):
    found = []
    for folder, _, names in os.walk(src):
        for name in sorted(names):
            if name.endswith(".qml"):
                path = os.path.join(folder, name)
                found += [f"{os.path.relpath(path, src)}:{number}: text: {value}" for number, value in unplain(path)]
    for line in found:
        print(line)
    if found:
        print(f"{len(found)} Text or Label items show data without textFormat: Text.PlainText", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
