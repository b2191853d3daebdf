#!/usr/bin/env python3
"""Writes generic/src/intl/charset_tables_generated.inc: classes and folds of every character.

    scripts/charset_tables.py [--check]

Run from anywhere. --check writes nothing and fails when the file is not what would be written.
The tables are committed, so that what is a letter depends neither on the platform nor on the
Python that happens to build; regenerating under another Unicode version may change them.
"""
import pathlib
import sys
import unicodedata

ROOT = pathlib.Path(__file__).resolve().parent.parent
TARGET = ROOT / "generic/src/intl/charset_tables_generated.inc"
UPPER, LOWER, LETTER, DIGIT, BLANK, CURRENCY, PUNCTUATION = 1, 2, 4, 8, 16, 32, 64


def fold(code):
    """The ASCII form of a character, itself or the one it is a wide form of; 0 for the others."""
    if code < 0x80:
        return code
    if 0xFF01 <= code <= 0xFF5E:
        return code - 0xFEE0
    return {0x3000: 0x20, 0x2212: 0x2D}.get(code, 0)


def bits(code, cases=True):
    category = unicodedata.category(chr(code))
    ascii_form = fold(code)
    if 9 <= ascii_form <= 13 or ascii_form == 32:
        return BLANK
    if 48 <= ascii_form <= 57:
        return DIGIT
    if category[0] == "L":
        case = {"Lu": UPPER, "Ll": LOWER}.get(category, 0)
        return LETTER | (case if cases or ascii_form else 0)
    if category == "Sc":
        return CURRENCY | PUNCTUATION
    return PUNCTUATION if category[0] in "PS" else 0


def decode(codec, data):
    try:
        text = data.decode(codec)
    except UnicodeDecodeError:
        return None
    if len(text) != 1:
        return None
    # A private-use or control code is a byte that the set leaves open.
    is_open = ord(text) >= 0x80 and unicodedata.category(text) in ("Co", "Cc")
    return None if is_open else ord(text)


def page(codec, lead=b"", identity=False):
    """fold and bits of the characters lead + byte; identity: a single byte folds to itself."""
    folds, classes = [], []
    for byte in range(256):
        code = decode(codec, lead + bytes([byte]))
        own = identity or (not lead and code is not None)
        folds.append(byte if own else fold(code) if code is not None else 0)
        classes.append(bits(code) if code is not None else 0)
    return tuple(folds), tuple(classes)


def runs():
    """Characters that take three or four bytes in UTF-8, as [first, last, bits, fold of first]."""
    found = []
    for code in range(0x800, 0x110000):
        kind, ascii_form = bits(code, cases=False), fold(code)
        if not kind:
            continue
        if found:
            first, last, last_kind, last_form = found[-1]
            step = last_form + code - first if last_form else 0
            if last == code - 1 and last_kind == kind and step == ascii_form:
                found[-1][1] = code
                continue
        found.append([code, code, kind, ascii_form])
    return found


def rows(values, width=100):
    out, line = [], "   "
    for value in values:
        item = " %s," % value
        if len(line) + len(item) > width:
            out.append(line)
            line = "   "
        line += item
    return "\n".join(out + [line])


class Pages:
    """Pages that are alike are kept once."""

    def __init__(self):
        self.names, self.text = {}, []

    def name(self, content):
        if not any(content[0]) and not any(content[1]):
            return "nullptr"
        if content not in self.names:
            self.names[content] = "kPage%d" % len(self.names)
            self.text.append("constexpr CharPage %s = {{\n%s\n}, {\n%s\n}};\n" % (
                self.names[content], rows(content[0]), rows(content[1])))
        return "&" + self.names[content]


def main():
    pages, tables = Pages(), []
    for name, codec, identity, leads in (
            ("Latin1", "latin_1", True, ()), ("Ascii", "ascii", True, ()),
            ("Utf8", "utf_8", False, range(0xC2, 0xE0)),
            ("Sjis", "cp932", False, [*range(0x81, 0xA0), *range(0xE0, 0xFD)])):
        single = pages.name(page(codec, identity=identity))
        tables.append("constexpr const CharPage& k%sSingle = %s;\n" % (name, single[1:]))
        if leads:
            by_lead = [pages.name(page(codec, bytes([b]))) if b in leads else "nullptr"
                       for b in range(256)]
            tables.append("constexpr const CharPage* k%sPages[256] = {\n%s\n};\n" % (
                name, rows(by_lead)))
    tables.append("constexpr CharRun kUtf8Runs[] = {\n%s\n};\n" % rows(
        "{%d, %d, %d, %d}" % tuple(run) for run in runs()))
    text = ("// Written by scripts/charset_tables.py from Unicode %s; run it instead of editing.\n"
            "// clang-format off\n\n%s" % (
                unicodedata.unidata_version, "\n".join(pages.text + tables)))
    if "--check" in sys.argv[1:]:
        return 0 if TARGET.exists() and TARGET.read_text() == text else 1
    TARGET.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
