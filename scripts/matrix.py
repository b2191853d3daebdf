#!/usr/bin/env python3
"""Writes README's table of conversions by kind, and the table of functions in docs/conversions.md, from
the lists of conversions.

    scripts/matrix.py [--check]

--check writes nothing and fails when a table is not what would be written.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

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




def read_lists():
    """What exists: (source, destination) with the macro of its row."""
    rows = {}
    for path in sorted((ROOT / "generic/src/lists").glob("com_*.list")):
        for macro, source, destination in re.findall(r"^([A-Z]+)\((\w+), *(\w+)", path.read_text(), re.M):
            rows[source, destination] = macro
    return rows


def kinds_table(rows):
    lines = ["| from \\ to | " + " | ".join(title for title, _ in KINDS) + " |",
             "|---|" + ":-:|" * len(KINDS)]
    for title, sources in KINDS:
        fields = ["●" if any((s, d) in rows for s in sources.split() for d in destinations.split()) else " "
                  for _, destinations in KINDS]
        lines.append(f"| {title} | " + " | ".join(fields) + " |")
    return lines


def functions_table(rows):
    lines = ["| from | exported, `comn_<from>to<destination>` | through the table alone |", "|---|---|---|"]
    for source in dict.fromkeys(source for source, _ in rows):
        exported = [d for (s, d), macro in rows.items() if s == source and macro != "INTERNAL"]
        internal = [d for (s, d), macro in rows.items() if s == source and macro == "INTERNAL"]
        lines.append(f"| `{source}` | {', '.join(exported)} | {', '.join(internal)} |")
    return lines


def main():
    rows = read_lists()
    for name, mark, lines in (("README.md", "matrix", kinds_table(rows)),
                              ("docs/conversions.md", "functions", functions_table(rows))):
        path = ROOT / name
        place = re.compile(rf"(<!-- {mark} -->\n).*?(<!-- /{mark} -->)", re.S)
        old = path.read_text(encoding="utf-8")
        if not place.search(old):
            sys.exit(f"{name} has no place for its table")
        new = place.sub(lambda found: found[1] + "\n".join(lines) + "\n" + found[2], old)
        if "--check" not in sys.argv[1:]:
            path.write_text(new, encoding="utf-8")
        elif new != old:
            sys.exit(f"the table in {name} is out of date: run scripts/matrix.py")


if __name__ == "__main__":
    main()
