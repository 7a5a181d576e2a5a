#!/usr/bin/env python3
"""Checks that every log text of the product is asserted by some test.

A text counts as asserted when each of its fixed pieces (what stands between
printf conversions) occurs in a string literal of a test. Prints a count for
each product folder and lists what no test mentions.

    log_texts.py SOURCE_ROOT [--list]
"""
import pathlib
import re
import sys

PRODUCT = ("runtime", "usb", "devcmd", "video", "audio", "firmware", "control", "camera")
LITERAL = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
# Adjacent literals are one; macros of <cinttypes> do not occur.
CONVERSION = re.compile(r"%[-+ #0]*(?:\*|\d+)?(?:\.(?:\*|\d+))?(?:hh|h|ll|l|z)?[a-zA-Z]")
LOG_CALL = re.compile(r"\b(?:CAM_LOG|CAM_LOG_AS|__FATAL)\s*\(")


def without_comments(text):
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return re.sub(r"^\s*//.*$", "", text, flags=re.M)


def joined(text):
    """Makes adjacent string literals one."""
    previous = None
    while previous != text:
        previous = text
        text = re.sub(r'"((?:[^"\\\n]|\\.)*)"\s+"', lambda m: '"' + m.group(1), text)
    return text


def unescape(literal):
    return (literal.replace("\\r", "\r").replace("\\n", "\n").replace('\\"', '"')
            .replace("\\\\", "\\"))


def call_arguments(text, start):
    depth = 0
    for position in range(start, len(text)):
        if text[position] == "(":
            depth += 1
        elif text[position] == ")":
            depth -= 1
            if depth == 0:
                return text[start:position]
    return text[start:]


def texts_of(path):
    text = joined(without_comments(path.read_text()))
    found = set()
    for call in LOG_CALL.finditer(text):
        literals = LITERAL.findall(call_arguments(text, call.end() - 1))
        found.update(literal for literal in literals if literal not in ("%s", "%s\\r\\n"))
    # Texts kept in tables and constants end their line or, in the rows of
    # properties, with the value.
    found.update(literal for literal in LITERAL.findall(text)
                 if re.search(r"(\\n|%d\]?)$", literal) and len(literal) > 4)
    return {unescape(literal) for literal in found if re.search(r"[A-Za-z]{3}", literal)
            and not literal.startswith("/")}


def pieces(text):
    return [piece for piece in CONVERSION.split(text) if len(piece.strip()) > 1]


def main():
    root = pathlib.Path(sys.argv[1])
    sources = [path for path in sorted((root / "tests").rglob("*.cpp")) +
               sorted((root / "tests").rglob("*.h"))]
    asserted = "\0".join(unescape(literal) for path in sources
                         for literal in LITERAL.findall(joined(without_comments(path.read_text()))))
    # A test may write a line end once for all lines, or leave it to a helper
    # that insists on it.
    loose = asserted.replace("\r\n", "").replace("\n", "")
    missing = []
    total = 0
    for folder in PRODUCT:
        texts = set()
        for path in sorted((root / folder).rglob("*.cpp")) + sorted((root / folder).rglob("*.h")):
            texts |= texts_of(path)
        lost = [text for text in sorted(texts)
                if not all(piece in asserted or piece.rstrip("\r\n") in loose
                           for piece in pieces(text))]
        print(f"{folder:10} {len(texts):4} texts, {len(texts) - len(lost):4} asserted")
        if "--list" in sys.argv:
            for text in sorted(texts):
                print("    ", repr(text))
        total += len(texts)
        missing += [(folder, text) for text in lost]
    print(f"{'all':10} {total:4} texts, {total - len(missing):4} asserted")
    for folder, text in missing:
        print(f"no test mentions ({folder}): {text!r}")
    return 1 if missing or total == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
