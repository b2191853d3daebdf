#!/usr/bin/env python3
"""Writes README's table of conversions by kind from the lists of conversions.

    scripts/matrix.py [--check]

--check writes nothing and fails when the table is not what would be written.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
README = ROOT / "README.md"
TABLE = re.compile(r"(<!-- matrix -->\n).*?(<!-- /matrix -->)", re.S)

# A kind and the names that its datatypes have in the lists.
KINDS = [
    ("integers", "i1 i2 i4 i8 ui2 ui4 ui8"),
    ("`bit`", "bit"),
    ("floats", "flt4 flt8"),
    ("money", "money mny4"),
    ("numeric", "num"),
    ("text", "char"),
    ("`varchar`", "varchar"),
    ("bytes", "bin varbin"),
    ("UTF-16", "unichar"),
    ("dates, times", "date datetime date4 datea timea bigdatetime bigtime"),
    ("locators", "locator"),
]


def main():
    filled = {}  # (source, destination): whether the conversion is there
    for path in (ROOT / "generic/src/convert").glob("*.list"):
        for macro, source, destination in re.findall(r"^([A-Z]+)\((\w+), *(\w+)", path.read_text(), re.M):
            filled[source, destination] = macro != "PLANNED"

    lines = ["| from \\ to | " + " | ".join(title for title, _ in KINDS) + " |",
             "|---|" + ":-:|" * len(KINDS)]
    for title, sources in KINDS:
        fields = []
        for _, destinations in KINDS:
            states = {filled[pair] for pair in filled
                      if pair[0] in sources.split() and pair[1] in destinations.split()}
            fields.append({(): " ", (True,): "●", (False,): "○"}.get(tuple(states), "◐"))
        lines.append(f"| {title} | " + " | ".join(fields) + " |")

    old = README.read_text(encoding="utf-8")
    new = TABLE.sub(lambda found: found[1] + "\n".join(lines) + "\n" + found[2], old)
    if not TABLE.search(old):
        sys.exit("README.md has no place for the table")
    if "--check" not in sys.argv[1:]:
        README.write_text(new, encoding="utf-8")
    elif new != old:
        sys.exit("README's table of conversions is out of date: run scripts/matrix.py")


if __name__ == "__main__":
    main()
