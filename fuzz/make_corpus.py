#!/usr/bin/env python3
"""Writes the small seed files the fuzzers start from: both byte orders, both
depths, a white card and a subject of the same size, one multi-strip file;
and the two fixed white cards that every mutated subject is equalized with.

    python3 fuzz/make_corpus.py
"""
import struct
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "samples"))
from make_samples import write_tiff  # noqa: E402

HERE = Path(__file__).resolve().parent / "corpus"
WHITE = Path(__file__).resolve().parent / "white"


def card(x, y):
    return (0.9 - 0.05 * x, 0.95 - 0.04 * y, 0.8)


def scene(x, y):
    return (0.1 * x, 0.5, 0.2 * y)


def retag(path, tag, typ, value):
    """Rewrites the value (and type) of one entry of a file that write_tiff made."""
    data = bytearray(path.read_bytes())
    order = "<" if data[:2] == b"II" else ">"
    (count,) = struct.unpack_from(order + "H", data, 8)
    for k in range(count):
        at = 10 + 12 * k
        if struct.unpack_from(order + "H", data, at)[0] == tag:
            if typ == 3:
                struct.pack_into(order + "HHIHH", data, at, tag, typ, 1, value, 0)
            else:
                struct.pack_into(order + "HHII", data, at, tag, typ, 1, value)
    path.write_bytes(data)


def hostile(folder):
    """Subjects of the white cards' size that no camera makes: pixels of other
    sizes than 3 or 6 bytes, pixel data past the end or beyond any 64-bit size."""
    for name, bits, little, samples in (("1-byte-pixels.tif", 8, True, 1),
                                        ("4-byte-pixels.tif", 8, False, 4),
                                        ("8-byte-pixels.tif", 16, True, 4),
                                        ("huge-pixels.tif", 16, False, 0xFFFFFFFF)):
        write_tiff(folder / name, scene, bits, little, width=6, height=4)
        retag(folder / name, 277, 4, samples)
        # Wider pixels need more rows' worth of bytes than three samples gave.
        folder.joinpath(name).write_bytes(folder.joinpath(name).read_bytes() + bytes(range(128)))
    cut = folder / "rows-past-end.tif"
    write_tiff(cut, scene, 16, True, width=6, height=4)
    cut.write_bytes(cut.read_bytes()[:-7])


def main():
    for target in ("reader", "equalize"):
        (HERE / target).mkdir(parents=True, exist_ok=True)
    for bits in (8, 16):
        for little in (True, False):
            name = f"{bits}bit_{'le' if little else 'be'}.tif"
            write_tiff(HERE / "reader" / name, card, bits, little, width=6, height=4)
            write_tiff(HERE / "equalize" / name, scene, bits, little, width=6, height=4)
    write_tiff(HERE / "reader" / "strips.tif", card, 8, True, width=6, height=4, rows_per_strip=2)
    regressions = HERE.parent / "regressions" / "equalize"
    regressions.mkdir(parents=True, exist_ok=True)
    hostile(HERE / "equalize")
    hostile(regressions)
    WHITE.mkdir(exist_ok=True)
    write_tiff(WHITE / "8bit_le.tif", card, 8, True, width=6, height=4)
    write_tiff(WHITE / "16bit_be.tif", card, 16, False, width=6, height=4)


if __name__ == "__main__":
    main()
