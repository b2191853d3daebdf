#!/usr/bin/env python3
"""Writes fuzz/corpus/matrix: for each source datatype a few calls, the destinations taking turns."""
import pathlib
import struct

TEXTS = [b" -42 ", b"1.5e-3", b"$1,234.5", b"2008-01-02 13:05:09.1234", b"Jan  2 2008  1:05PM",
         b"0xdeadBEEF", b"it's 'quoted'", b"nan", b"caf\xc3\xa9 \xe3\x81\x82\xf0\x9f\x98\x80",
         b"\x82\x50\x81\x7c\x82\xa0\x85\x40"]
UTF16 = [text.encode("utf-16-le") for text in
         ("-42", "1.5e3", "12:30", "0xff", "a'b\u3042\U0001f600", "\uff11\uff0e\uff15")] + [b"\0\xd8"]
NUMERICS = [bytes([5, 2, 1, 1, 44]) + bytes(30), bytes([77, 77, 0]) + b"\x10" * 32, bytes(35)]

# Datatype code: values.
VALUES = {
    0: TEXTS,
    2: TEXTS[:2],
    4: TEXTS[6:8],
    **dict.fromkeys((21, 22, 34), TEXTS[6:9]),
    1: [b"\1", bytes(range(40)), b"\xff" * 150],
    **dict.fromkeys((3, 5), [bytes(range(35))]),
    **dict.fromkeys((6, 11), [b"\0", b"\1", b"\xff"]),
    7: [struct.pack("<h", v) for v in (0, -1, 32767)],
    31: [struct.pack("<H", v) for v in (0, 65535)],
    32: [struct.pack("<I", v) for v in (0, 2**32 - 1)],
    **dict.fromkeys((8, 15), [struct.pack("<i", v) for v in (0, -12345, 2**31 - 1)]),
    30: [struct.pack("<q", v) for v in (0, -2**63, 10**15)],
    33: [struct.pack("<Q", v) for v in (0, 2**64 - 1)],
    14: [struct.pack("<iI", *v) for v in ((0, 15000), (-2**31, 0))],
    9: [struct.pack("<f", v) for v in (0.1, -3e38, float("nan"))],
    10: [struct.pack("<d", v) for v in (0.1, -1e300, 5e-324, float("inf"))],
    **dict.fromkeys((16, 17), NUMERICS),
    12: [struct.pack("<ii", *v) for v in ((39447, 14132737), (-53691, 0))],
    13: [struct.pack("<HH", *v) for v in ((65535, 1439), (0, 1440))],
    27: [struct.pack("<i", v) for v in (-693595, 2958463)],
    28: [struct.pack("<i", v) for v in (0, 25919999)],
    35: [struct.pack("<Q", v) for v in (31622400000000, 315569519999999999)],
    36: [struct.pack("<Q", v) for v in (0, 86399999999)],
    18: [b"\0\0" + text for text in TEXTS[:4]],
    19: [b"\0\0" + bytes(range(9)), b"\xff\1x"],
    23: [b"x"],
    25: UTF16,
    29: UTF16[3:5],
    **dict.fromkeys((37, 38, 39), [b"locator\xff"]),
}
# What a source converts to, as the table has it.
ALL = [*range(20), 25, *range(27, 37)]
NUMBERS = [*range(12), *range(14, 20), 25, *range(29, 34)]
DATES = [0, 2, 4, 12, 13, 18, 19, 25, 27, 28, 29, 35, 36]
FORMATS = [(0, 64), (1, 9), (2, 40), (4, 41), (5, 8), (32, 12), (64, 21), (6, 30), (35, 5)]


def destinations(source):
    if source in (12, 13, 27, 28, 35, 36):
        return [d for d in DATES if not (source == 27 and d in (28, 36) or source in (28, 36) and d == 27)]
    if source in (21, 22):
        return [0, 2, 4, 18, source]
    special = {34: [0, 1, 2, 3, 4, 5, 18, 19, 34], 37: [0, 4, 37], 38: [0, 5, 38], 39: [0, 25, 39],
               11: [d for d in NUMBERS if d not in (14, 15)], 0: ALL + [21, 22, 37, 38, 39]}
    if source in special:
        return special[source]
    if source in (25, 29):
        return [d for d in ALL if d != 34]
    return NUMBERS if source in NUMBERS and source not in (0, 1, 2, 3, 4, 5, 18, 19, 25, 29) else ALL


def main():
    folder = pathlib.Path(__file__).parent.parent / "fuzz/corpus/matrix"
    folder.mkdir(parents=True, exist_ok=True)
    turn = 0
    for source, values in sorted(VALUES.items()):
        targets = destinations(source)
        for i, value in enumerate(values):
            destination = targets[turn * 7 % len(targets)]
            flags, room = FORMATS[turn % len(FORMATS)]
            header = struct.pack("<BBBHBBBBB", destination, source, flags, room, turn % 79, turn % 20,
                                 turn % 5, turn % 3, turn % 4)
            (folder / f"s{source:02}_{i}_d{destination:02}").write_bytes(header + value)
            turn += 1


main()
