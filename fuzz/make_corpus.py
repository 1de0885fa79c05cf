#!/usr/bin/env python3
"""Writes the small seed files the fuzzers start from: both byte orders, both
depths, a white card and a subject of the same size, one multi-strip file.

    python3 fuzz/make_corpus.py
"""
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "samples"))
from make_samples import write_tiff  # noqa: E402

HERE = Path(__file__).resolve().parent / "corpus"


def card(x, y):
    return (0.9 - 0.05 * x, 0.95 - 0.04 * y, 0.8)


def scene(x, y):
    return (0.1 * x, 0.5, 0.2 * y)


def main():
    for target in ("reader", "equalize"):
        (HERE / target).mkdir(parents=True, exist_ok=True)
    for bits in (8, 16):
        for little in (True, False):
            name = f"{bits}bit_{'le' if little else 'be'}.tif"
            write_tiff(HERE / "reader" / name, card, bits, little, width=6, height=4)
            write_tiff(HERE / "equalize" / name, scene, bits, little, width=6, height=4)
    write_tiff(HERE / "reader" / "strips.tif", card, 8, True, width=6, height=4, rows_per_strip=2)


if __name__ == "__main__":
    main()
