#!/usr/bin/env python3
"""Writes two files in generic/src/intl: charset_tables_generated.inc, classes and folds of every
character, and charset_codes_generated.inc, the code points of double-byte characters.

    scripts/charset_tables.py [--check]

Run from anywhere. --check writes nothing and fails when a file is not what would be written.
The tables are committed, so that what is a letter depends neither on the platform nor on the
Python that happens to build; regenerating under another Unicode version may change them.
"""
import pathlib
import sys
import unicodedata

ROOT = pathlib.Path(__file__).resolve().parent.parent
TABLES = ROOT / "generic/src/intl/charset_tables_generated.inc"
CODES = ROOT / "generic/src/intl/charset_codes_generated.inc"
SJIS = "cp932"
SJIS_LEADS = [*range(0x81, 0xA0), *range(0xE0, 0xFD)]
SJIS_TRAILS = [*range(0x40, 0x7F), *range(0x80, 0xFD)]
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


def user_defined(code):
    """Leads F0 to F9 are the private use area from U+E000 on, which takes no table."""
    return 0xE000 <= code < 0xE000 + 10 * len(SJIS_TRAILS)


def double_byte_codes():
    """Both directions of the double-byte set, without ASCII and user-defined characters."""
    rows_of_leads, index = [], []
    for lead in range(256):
        row = []
        for trail in SJIS_TRAILS if lead in SJIS_LEADS else []:
            try:
                row.append(ord(bytes([lead, trail]).decode(SJIS)))
            except UnicodeDecodeError:
                row.append(0)
        used = any(row) and not any(map(user_defined, row))
        index.append(len(rows_of_leads) + 1 if used else 0)
        if used:
            rows_of_leads.append(row)
    blocks, block_of, codes = [(0, 0)], [], []
    for start in range(0, 0x10000, 64):
        bits, first = 0, len(codes)
        for code in range(start, start + 64):
            try:
                encoded = b"" if user_defined(code) else chr(code).encode(SJIS)
            except UnicodeEncodeError:
                continue
            # Bytes that the set leaves open keep out. A few signs share the bytes of their wide
            # forms, which those bytes are read as.
            if code >= 0x80 and (decode(SJIS, encoded) or 0) >= 0x80:
                bits |= 1 << code - start
                codes.append(int.from_bytes(encoded, "big"))
        block_of.append(len(blocks) if bits else 0)
        if bits:
            blocks.append((bits, first))
    return ("// By lead byte: its row of kSjisCodes plus 1; 0 for none.\n"
            "constexpr std::uint8_t kSjisRows[256] = {\n%s\n};\n\n"
            "// Code points by trail byte, 0x40 to 0xFC without 0x7F; 0 for none.\n"
            "constexpr std::uint16_t kSjisCodes[][%d] = {\n%s\n};\n\n"
            "// Code points in blocks of 64: by the upper bits, the block's place in kSjisBlocks.\n"
            "constexpr std::uint16_t kSjisBlockOf[1024] = {\n%s\n};\n\n"
            "// The code points of a block that the set has, and where their bytes start.\n"
            "constexpr SjisBlock kSjisBlocks[] = {\n%s\n};\n\n"
            "// One byte, or lead * 256 + trail.\n"
            "constexpr std::uint16_t kSjisBytes[] = {\n%s\n};\n" % (
                rows(index), len(SJIS_TRAILS),
                ",\n".join("{\n%s\n}" % rows(row) for row in rows_of_leads), rows(block_of),
                rows("{%#x, %d}" % block for block in blocks), rows(codes)))


def main():
    pages, tables = Pages(), []
    for name, codec, identity, leads in (
            ("Latin1", "latin_1", True, ()), ("Ascii", "ascii", True, ()),
            ("Utf8", "utf_8", False, range(0xC2, 0xE0)),
            ("Sjis", SJIS, False, SJIS_LEADS)):
        single = pages.name(page(codec, identity=identity))
        tables.append("constexpr const CharPage& k%sSingle = %s;\n" % (name, single[1:]))
        if leads:
            by_lead = [pages.name(page(codec, bytes([b]))) if b in leads else "nullptr"
                       for b in range(256)]
            tables.append("constexpr const CharPage* k%sPages[256] = {\n%s\n};\n" % (
                name, rows(by_lead)))
    tables.append("constexpr CharRun kUtf8Runs[] = {\n%s\n};\n" % rows(
        "{%d, %d, %d, %d}" % tuple(run) for run in runs()))
    files = {
        TABLES: "// Written by scripts/charset_tables.py from Unicode %s; run it instead of editing.\n"
                "// clang-format off\n\n%s" % (
                    unicodedata.unidata_version, "\n".join(pages.text + tables)),
        CODES: "// Written by scripts/charset_tables.py; run it instead of editing.\n"
               "// clang-format off\n\n" + double_byte_codes(),
    }
    if "--check" in sys.argv[1:]:
        return 0 if all(f.exists() and f.read_text() == files[f] for f in files) else 1
    for target, text in files.items():
        target.write_text(text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
