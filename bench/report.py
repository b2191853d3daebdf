#!/usr/bin/env python3
"""Runs benchmark programs and prints, row by row, how the library stands against its peers.

    report.py [--rounds N] [--min-time S] [--filter REGEX] [--output FILE] PROGRAM...

The table is Markdown; figures are nanoseconds of processor time an item (bytes an item in rows of
memory), medians over the rounds.
A shared machine changes its speed from second to second, so times are compared within a round,
where the contenders of a row ran one right after the other: a ratio is the median of the ratios
of the rounds, which is not always the ratio of the medians. A row is met when the ratio to the
fastest peer is at most its reach; up to a fifth above that it is a tie.
"""

import argparse
import datetime
import json
import platform
import statistics
import subprocess
import sys

# Row as the programs name it, what it measures, the ratio to the fastest peer to reach.
ROWS = [
    ("i4_to_i8", "one checked conversion, `i4` to `i8`", 1.0),
    ("i4_to_i2", "one checked conversion, `i4` to `i2` in range", 1.0),
    ("batch_i4_to_i2", "array of `i4` to `i2`, in the cache", 0.5),
    ("batch_i8_to_i4", "array of `i8` to `i4`, in the cache", 0.5),
    ("batch_i8_to_ui8", "array of `i8` to `ui8`, in the cache", 0.5),
    ("batch_i2_to_i8", "array of `i2` to `i8`, in the cache", 0.5),
    ("batch_memory_i4_to_i2", "array of `i4` to `i2`, 64 MiB", 2.0),
    ("batch_memory_i8_to_i4", "array of `i8` to `i4`, 64 MiB", 2.0),
    ("batch_memory_i4_to_i8", "array of `i4` to `i8`, 64 MiB", 2.0),
    ("column_text_to_i4", "column of texts to `i4`, in the cache", 0.55),
    ("column_text_to_i4_million", "column of texts to `i4`, a million rows", 0.55),
    ("column_text_to_money", "column of texts to money, in the cache", 0.6),
    ("column_text_to_money_million", "column of texts to money, a million rows", 0.6),
    ("column_text_to_datetime", "column of texts to `datetime`, in the cache", 0.35),
    ("column_text_to_datetime_million", "column of texts to `datetime`, a million rows", 0.35),
    ("column_i4_to_text", "column of `i4` to texts, in the cache", 0.6),
    ("column_i4_to_text_million", "column of `i4` to texts, a million rows", 0.6),
    ("column_text_to_money_threads", "column of texts to money, halves by two threads", 0.6),
    ("text_to_i4", "text to `i4`, 1-11 bytes mixed", 0.8),
    ("char14_to_i4", "text to `i4`, `char(14)` padded behind", 0.5),
    ("char14_right_to_i4", "text to `i4`, `char(14)` padded before", 0.5),
    ("text_to_i4_small", "text to `i4`, 0 to 999", 1.2),
    ("text_to_i8", "text to `i8`, 1-20 bytes mixed", 0.8),
    ("i4_to_text", "`i4` to text, mixed lengths", 0.8),
    ("i4_to_text_small", "`i4` to text, 0 to 999", 1.5),
    ("i8_to_text", "`i8` to text, mixed lengths", 0.7),
    ("i8_to_text_uniform", "`i8` to text, uniform", 0.7),
    ("text_to_flt8_prices", "text to `flt8`, prices", 1.0),
    ("text_to_flt8_random", "text to `flt8`, every exponent", 1.0),
    ("text_to_flt8_17", "text to `flt8`, 17 digits", 1.0),
    ("flt8_to_text_prices", "`flt8` to text, prices", 1.0),
    ("flt8_to_text_random", "`flt8` to text, every exponent", 1.0),
    ("money_add", "money add", 4.0),
    ("money_multiply", "money multiply", 0.6),
    ("money_divide", "money divide", 0.8),
    ("money_to_text", "money to text, 2 places", 0.8),
    ("money_to_text_separators", "money to text, with separators", 0.5),
    ("text_to_money", "text to money, 4 places", 0.9),
    ("text_to_money_utf8", "the same in `char(20)` of UTF-8, beside `iso_1`", 1.05),
    ("char20_to_char30", "`char(20)` to `char(30)`, padded", 2.0),
    ("bytes_to_hex", "64 bytes to hexadecimal", 0.5),
    ("hex_to_bytes", "hexadecimal to 64 bytes", 0.5),
    ("unichar_to_i4", "UTF-16 to `i4` beside bytes to `i4`", 1.5),
    ("utf8_to_unichar", "`char` in UTF-8 to `unichar`, ASCII, beside the transcoder", 1.4),
    ("numeric_add_38", "numeric add, 38 digits", 0.15),
    ("numeric_add_77", "numeric add, 77 digits", 0.15),
    ("numeric_multiply_38", "numeric multiply, 19 by 19 digits", 0.2),
    ("numeric_multiply_77", "numeric multiply, 38 by 38 digits", 0.2),
    ("numeric_multiply_rounded", "numeric multiply, 77 decimals rounded", 0.5),
    ("numeric_divide_38", "numeric divide, 38 digits", 1.5),
    ("numeric_divide_77", "numeric divide, 77 digits", 1.5),
    ("text_to_numeric_10", "text to numeric, 10 digits", 1.0),
    ("text_to_numeric_20", "text to numeric, 20 digits", 0.8),
    ("text_to_numeric_38", "text to numeric, 38 digits", 0.5),
    ("text_to_numeric_77", "text to numeric, 77 digits", 0.5),
    ("numeric_to_text_10", "numeric to text, 10 digits", 0.9),
    ("numeric_to_text_20", "numeric to text, 20 digits", 0.9),
    ("numeric_to_text_38", "numeric to text, 38 digits", 0.8),
    ("numeric_to_text_77", "numeric to text, 77 digits", 0.8),
    ("day_to_date", "day number to year, month, day", 1.3),
    ("datetime_to_fields", "`datetime` to all fields", 1.0),
    ("fields_to_datetime", "fields to `datetime`, checked", 1.1),
    ("parse_iso", "parse `2008-01-02 13:05:09.123`", 0.6),
    ("parse_named", "parse `Jan  2 2008  1:05PM`", 0.15),
    ("format_fraction", "format style 140, with fraction", 0.2),
    ("format_named", "format style 0", 0.15),
    ("iso_week", "ISO week", 1.2),
    ("months_between", "months between", 1.0),
    ("add_months", "add months", 1.2),
    ("mutex", "mutex take and release, recursive", 0.6),
    ("mutex_twice", "the same, taken twice", 0.6),
    ("mutex_beside", "mutex take and release, a second thread alive", 0.8),
    ("mutex_twice_beside", "the same, taken twice", 0.8),
    ("mutex_contended", "the same by two threads at once", 1.0),
    ("event", "event set and wait", 0.5),
    ("event_unset", "poll of an unset event", 0.5),
    ("event_beside", "event set and wait, a second thread alive", 0.8),
    ("event_unset_beside", "poll of an unset event, a second thread alive", 0.5),
    ("semaphore", "semaphore post and wait", 1.0),
    ("semaphore_beside", "the same, a second thread alive", 0.8),
    ("config_parse", "configuration: parse an entry, 1,000 sections of 20", 0.25),
    ("config_lookup", "configuration: look up an entry, 1,000 sections of 20", 1.3),
    ("config_lookup_10", "the same with 10 sections", 1.3),
    ("config_lookup_20000", "the same with 20,000 sections", 1.3),
    ("config_missing", "configuration: a missing key", 1.3),
    ("config_memory", "configuration: memory of an entry, bytes instead of time", 1.0),
    ("list_find_1000", "list manager: find among 1,000", 1.2),
    ("list_find_30000", "the same among 30,000", 1.2),
    ("list_find_1000000", "the same among 1,000,000", 1.2),
    ("utf8_to_utf16_ascii", "UTF-8 to UTF-16, 10-40 characters, ASCII", 0.4),
    ("utf8_to_utf16_mixed", "UTF-8 to UTF-16, 10-40 characters, mixed", 1.0),
    ("utf16_to_utf8_ascii", "UTF-16 to UTF-8, 10-40 characters, ASCII", 0.45),
    ("utf16_to_utf8_mixed", "UTF-16 to UTF-8, 10-40 characters, mixed", 1.25),
    ("utf8_to_utf16_ascii_4k", "UTF-8 to UTF-16, 4 KiB, ASCII", 0.1),
    ("utf8_to_utf16_mixed_4k", "UTF-8 to UTF-16, 4 KiB, mixed", 1.0),
    ("utf16_to_utf8_ascii_4k", "UTF-16 to UTF-8, 4 KiB, ASCII", 0.1),
    ("utf16_to_utf8_mixed_4k", "UTF-16 to UTF-8, 4 KiB, mixed", 1.0),
    ("utf8_to_utf16_latin", "UTF-8 to UTF-16, 10-40 characters, Latin with accents", 0.9),
    ("utf8_to_utf16_latin_4k", "UTF-8 to UTF-16, 4 KiB, Latin with accents", 0.6),
    ("utf8_to_utf16_ideographs", "UTF-8 to UTF-16, 10-40 characters, ideographs", 1.0),
    ("utf8_to_utf16_ideographs_4k", "UTF-8 to UTF-16, 4 KiB, ideographs", 0.8),
    ("utf16_to_utf8_latin", "UTF-16 to UTF-8, 10-40 characters, Latin with accents", 1.0),
    ("utf16_to_utf8_latin_4k", "UTF-16 to UTF-8, 4 KiB, Latin with accents", 1.0),
    ("utf16_to_utf8_ideographs", "UTF-16 to UTF-8, 10-40 characters, ideographs", 1.0),
    ("utf16_to_utf8_ideographs_4k", "UTF-16 to UTF-8, 4 KiB, ideographs", 1.0),
]

OURS = "ours"
FLOOR = "(floor)"  # end of the name of a contender that does less than the operation
TIE = 1.2


def processor():
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as lines:
            for line in lines:
                if line.startswith("model name"):
                    return line.split(":", 1)[1].strip()
    except OSError:
        pass
    return platform.processor() or platform.machine()


def run(program, options):
    command = [
        program,
        "--benchmark_format=json",
        f"--benchmark_min_time={options.min_time}",
    ]
    if options.filter:
        command.append(f"--benchmark_filter={options.filter}")
    done = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    if done.returncode != 0:
        sys.exit(f"{program} ended with code {done.returncode}")
    if not done.stdout.strip():
        return {"context": {}, "benchmarks": []}  # nothing matched the filter
    return json.loads(done.stdout)


def collect(results, times, errors):
    """Appends to times[row][contender] and notes failures in errors."""
    for one in results["benchmarks"]:
        name = one["run_name"].removesuffix("/real_time").removesuffix("/iterations:1")
        row, contender = name.split("/", 1)
        if one.get("error_occurred"):
            errors[row, contender] = one.get("error_message", "failed")
        else:
            figures = times.setdefault(row, {}).setdefault(contender, [])
            if "bytes_per_item" in one:  # a row of memory
                figures.append(one["bytes_per_item"])
            else:
                figures.append(1e9 / one["items_per_second"])


def describe(title, reach, contenders):
    medians = {name: statistics.median(ns) for name, ns in contenders.items()}
    ours = contenders.get(OURS)
    peers = sorted((ns, name) for name, ns in medians.items() if name != OURS)
    ratios = {}
    if ours:
        for _, name in peers:
            if not name.endswith(FLOOR):
                ratios[name] = statistics.median(a / b for a, b in zip(ours, contenders[name]))
    fastest = max(ratios, key=ratios.get) if ratios else None
    ratio = ratios.get(fastest)
    cells = [
        title,
        f"{medians[OURS]:.1f}" if ours else "-",
        ", ".join(f"{name} {ns:.1f}" for ns, name in peers) or "-",
        fastest or "-",
        f"{ratio:.2f}" if ratio else "-",
        f"{reach:.2f}",
        "not measured" if not ratio else
        "yes" if ratio <= reach else "tie" if ratio <= reach * TIE else "**no**",
    ]
    return f"| {' | '.join(cells)} |"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rounds", type=int, default=9)
    parser.add_argument("--min-time", type=float, default=0.05, help="seconds a contender")
    parser.add_argument("--filter", help="only the benchmarks (row/contender) that match")
    parser.add_argument("--output", help="file for the table, instead of standard output")
    parser.add_argument("program", nargs="+")
    options = parser.parse_args()

    times, errors, context = {}, {}, {}
    for number in range(1, options.rounds + 1):
        print(f"round {number} of {options.rounds}", file=sys.stderr)
        for program in options.program:
            results = run(program, options)
            context = results["context"] or context
            collect(results, times, errors)
    for row, contender in errors:
        times.get(row, {}).pop(contender, None)

    lines = [
        f"Machine: {processor()}, {platform.system()} {platform.machine()}, "
        f"load average {context.get('load_avg', [0])[0]:.1f} at the start of the last run. "
        f"Compiler: {context.get('compiler', 'unknown')}, flags `{context.get('flags', '')}`. "
        f"Date: {datetime.date.today().isoformat()}. "
        f"Nanoseconds an item, medians of {options.rounds} rounds, "
        f"{context.get('items_a_pass', '?')} items a pass.",
        "",
        "| Operation | Ours | Peers | Fastest peer | Ratio | Reach | Met |",
        "|---|---:|---|---|---:|---:|---|",
    ]
    known = {row for row, _, _ in ROWS}
    for row, title, reach in ROWS:
        if times.get(row):
            lines.append(describe(title, reach, times[row]))
    table = "\n".join(lines) + "\n"
    if options.output:
        with open(options.output, "w", encoding="utf-8") as file:
            file.write(table)
    else:
        sys.stdout.write(table)

    for (row, contender), message in sorted(errors.items()):
        print(f"{row}/{contender}: {message}", file=sys.stderr)
    for row in sorted(set(times) - known):
        print(f"{row}: measured but not in the table of rows", file=sys.stderr)
    return 1 if errors or set(times) - known else 0


if __name__ == "__main__":
    sys.exit(main())
