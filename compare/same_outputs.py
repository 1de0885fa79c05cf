#!/usr/bin/env python3
"""Proves that two builds give the same outputs, byte for byte, before and
after a change to the engine:

    python3 compare/same_outputs.py BEFORE_BUILD_DIR AFTER_BUILD_DIR [--keep WORKDIR]

Each build folder holds cli/brisavane-cli and compare/brisavane-window-run
(tests/brisavane-window-run in builds made before it moved there). The
inputs are written afresh into a temporary folder (WORKDIR, kept, with --keep):
small cards and subjects of odd sizes, so that row ends and the tails of the
vector loops are reached, in 8 and 16 bits and both byte orders, laid out by
/usr/bin/tiffcp in strips, tiles, planes, compressed and as BigTIFF. Both
builds' `equalize` runs over every input set and mode set, and `analyze` over
every card; their output files, result lines or JSON (less the "seconds") and
exit codes must be the same. The window runs on the one-strip inputs, where
its bytes, marks, texts and previews must be the same too; on the other
layouts what it did is only shown when it changed, and in the after build
every file it marks with a check must be the command line's bytes.

Exit status 1 when anything compared differs (between the builds, or the
after build's window from its command line), 2 for a usage error.
"""
import argparse
import difflib
import json
import re
import random
import shutil
import struct
import subprocess
import sys
import tempfile
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
TIFFCP = "/usr/bin/tiffcp"
SIZE, ODD_SIZE = (97, 61), (131, 23)

# Each layout: the file the script writes (one strip: interleaved, with alpha
# or planar), then tiffcp's options on it, if any ({h}: the height, one strip).
# tiffcp can't take 16-bit samples from interleaved to planar.
LAYOUTS = {
    "strip": ("contig", None),
    "rgba": ("alpha", None),
    "planar": ("planar", None),
    "separate": ("contig", ["-p", "separate"]),  # 8 bits only
    "rows7": ("contig", ["-r", "7"]),
    "lzw2": ("contig", ["-c", "lzw:2", "-r", "{h}"]),
    "lzw2-strips": ("contig", ["-c", "lzw:2", "-r", "7"]),
    "zip": ("contig", ["-c", "zip"]),
    "packbits": ("contig", ["-c", "packbits", "-r", "{h}"]),
    "tiles": ("contig", ["-t", "-w", "16", "-l", "16"]),
    "planar-lzw": ("planar", ["-c", "lzw:2"]),
    "bigtiff": ("contig", ["-8"]),
}

# name: bits, little-endian, subjects' layout, card's layout, size
SETS = {
    "strip-8le": (8, True, "strip", "strip", SIZE),
    "strip-8be": (8, False, "strip", "strip", SIZE),
    "strip-16le": (16, True, "strip", "strip", SIZE),
    "strip-16be": (16, False, "strip", "strip", SIZE),
    "strip-8le-odd": (8, True, "strip", "strip", ODD_SIZE),
    "strip-16be-odd": (16, False, "strip", "strip", ODD_SIZE),
    "rgba-8le": (8, True, "rgba", "strip", SIZE),
    "rgba-16be": (16, False, "rgba", "rgba", SIZE),
    "rows7-8le": (8, True, "rows7", "strip", SIZE),
    "rows7-16be": (16, False, "rows7", "strip", SIZE),
    "lzw2-8le": (8, True, "lzw2", "strip", SIZE),
    "lzw2-16le": (16, True, "lzw2", "strip", SIZE),
    "lzw2-16be-odd": (16, False, "lzw2-strips", "strip", ODD_SIZE),
    "zip-8be": (8, False, "zip", "strip", SIZE),
    "zip-16le": (16, True, "zip", "strip", SIZE),
    "packbits-8le": (8, True, "packbits", "strip", SIZE),
    "packbits-16be": (16, False, "packbits", "strip", SIZE),
    "tiles-8le": (8, True, "tiles", "strip", SIZE),
    "tiles-16be": (16, False, "tiles", "strip", SIZE),
    "planar-8be": (8, False, "separate", "strip", SIZE),
    "planar-16le": (16, True, "planar", "strip", SIZE),
    "planar-lzw-16be": (16, False, "planar-lzw", "strip", SIZE),
    "bigtiff-16le": (16, True, "bigtiff", "strip", SIZE),
    "bigtiff-8be": (8, False, "bigtiff", "strip", SIZE),
    # The card's layouts, with one-strip subjects and the default mode alone.
    "card-lzw-16le": (16, True, "strip", "lzw2-strips", SIZE),
    "card-tiles-8be": (8, False, "strip", "tiles", SIZE),
    "card-rows7-16be": (16, False, "strip", "rows7", SIZE),
    "card-planar-8le": (8, True, "strip", "planar", SIZE),
}

# Mode sets of equalize ({card2}, {dark}: the set's second shot and dark frame,
# one strip); all but "lines" run with --json.
MODES = {
    "default": [],
    "lines": [],
    "amount0": ["--amount", "0"],
    "amount50": ["--amount", "50"],
    "amount12.5": ["--amount", "12.5"],
    "amount250": ["--amount", "250"],
    "rgb": ["--channels", "rgb"],
    "smooth3": ["--smooth", "3"],
    "max-gain1.5": ["--max-gain", "1.5"],
    "linear": ["--linear"],
    "darken50": ["--darken", "--amount", "50"],
    "darken-rgb": ["--darken", "--channels", "rgb", "--amount", "80"],
    "two-shots": ["--white", "{card2}"],
    "dark": ["--dark", "{dark}"],
    "rgb-cap-linear": ["--channels", "rgb", "--max-gain", "2", "--linear"],
    "smooth5-dark": ["--smooth", "5", "--dark", "{dark}"],
    "shots-dark-linear": ["--white", "{card2}", "--dark", "{dark}", "--linear"],
    "smooth1-rgb-linear": ["--smooth", "1", "--channels", "rgb", "--linear"],
    "everything": ["--white", "{card2}", "--dark", "{dark}", "--linear", "--channels", "rgb",
                   "--smooth", "2", "--max-gain", "3", "--darken", "--amount", "75"],
    "jobs1": ["--jobs", "1"],
    "jobs3-smooth2": ["--jobs", "3", "--smooth", "2"],
    "jobs1-dark-rgb": ["--jobs", "1", "--dark", "{dark}", "--channels", "rgb"],
}

# analyze on each card ({out}: the run's output folder).
ANALYSES = {
    "figures": [],
    "rgb": ["--channels", "rgb"],
    "preview": ["--preview", "{out}/preview.png"],
    "tone-map": ["--tone-map", "{out}/tone.png"],
    "report": ["--report", "{out}/report", "--format", "A2", "--amount", "80"],
}

# The window: amount typed, previews; the one-strip sets run all, the others
# the first alone.
WINDOW_RUNS = [("100", True), ("50", True), ("100", False)]
WINDOW_MODE = {"100": "default", "50": "amount50"}


# ---- the inputs ----

def icc_profile():
    """The sample card's profile; an sRGB profile of the system's when it has none."""
    data = (SOURCE / "samples/modes/white_card_a.tif").read_bytes()
    order = "<" if data[:2] == b"II" else ">"
    ifd = struct.unpack_from(order + "I", data, 4)[0]
    for i in range(struct.unpack_from(order + "H", data, ifd)[0]):
        tag, _, count, offset = struct.unpack_from(order + "HHII", data, ifd + 2 + 12 * i)
        if tag == 34675:
            return data[offset:offset + count]
    return next(Path("/usr/share/color/icc").rglob("*sRGB*.icc")).read_bytes()


def write_tiff(path, samples, bits, little, size, form="contig", icc=b""):
    """One uncompressed strip (a plane each when planar) of samples 0 to 1;
    "alpha" adds a fourth sample a pixel."""
    order, (width, height) = "<" if little else ">", size
    spp, peak = 4 if form == "alpha" else 3, (1 << bits) - 1
    values = [min(peak, max(0, round(v * peak))) for v in samples]
    planes = [values[c::spp] for c in range(spp)] if form == "planar" else [values]
    strips = [struct.pack(f"{order}{len(p)}{'B' if bits == 8 else 'H'}", *p) for p in planes]
    tags = {256: (4, [width]), 257: (4, [height]), 258: (3, [bits] * spp), 259: (3, [1]),
            262: (3, [2]), 273: (4, [0] * len(strips)), 277: (3, [spp]), 278: (4, [height]),
            279: (4, [len(s) for s in strips]), 284: (3, [2 if form == "planar" else 1])}
    tags.update({338: (3, [2])} if spp == 4 else {})  # unassociated alpha
    tags.update({34675: (7, icc)} if icc else {})

    def pack(kind, vals):
        return bytes(vals) if kind == 7 else struct.pack(
            f"{order}{len(vals)}{'H' if kind == 3 else 'I'}", *vals)

    # The IFD, then the values too long for their entries, then the strips.
    ifd_end = 8 + 2 + 12 * len(tags) + 4
    longer = [pack(*t) for t in tags.values() if len(pack(*t)) > 4]
    data_at = ifd_end + sum(len(b) + len(b) % 2 for b in longer)
    tags[273] = (4, [data_at + sum(map(len, strips[:i])) for i in range(len(strips))])
    ifd, extra = bytearray(struct.pack(order + "H", len(tags))), bytearray()
    for tag in sorted(tags):
        kind, vals = tags[tag]
        blob = pack(kind, vals)
        if len(blob) > 4:
            blob, extra = struct.pack(order + "I", ifd_end + len(extra)), extra + blob
            extra += b"\0" * (len(extra) % 2)
        ifd += struct.pack(order + "HHI", tag, kind, len(vals)) + blob.ljust(4, b"\0")
    header = (b"II" if little else b"MM") + struct.pack(order + "HI", 42, 8)
    path.write_bytes(header + ifd + struct.pack(order + "I", 0) + extra + b"".join(strips))


def light(x, y, size):
    """The lamp's falloff toward the corners, to about half, a little off centre."""
    (w, h) = size
    r2 = ((x - 0.55 * w) / (w / 2)) ** 2 + ((y - 0.45 * h) / (h / 2)) ** 2
    return 1.0 - 0.25 * r2


def image(kind, size, seed, alpha=False):
    """The samples of one picture, row by row."""
    rng, (w, h) = random.Random(seed), size
    out = []
    for y in range(h):
        for x in range(w):
            lit, across = light(x, y, size), x / (w - 1) - 0.5
            if kind == "card":  # warm left, cool right, grain
                pixel = [lit * c * (1 + 0.015 * (2 * rng.random() - 1))
                         for c in (0.9 - 0.08 * across, 0.93, 0.88 + 0.1 * across)]
            elif kind == "dark":
                pixel = [0.01 + 0.006 * rng.random() for _ in range(3)]
            elif kind == "noise":
                pixel = [rng.random() * 1.1 - 0.05 for _ in range(3)]  # clipped both ends
            elif x < 3 or y == h - 1:
                pixel = [0.0] * 3
            elif x >= w - 3 or y == 0:
                pixel = [1.0] * 3
            elif kind == "scene":  # bands of colour, pure primaries on the diagonal
                pixel = [(0.2 + 0.7 * ((x // 9 + y // 7 + c) % 4) / 3) * lit for c in range(3)]
                if x == y:
                    pixel = [float(c == x % 3) for c in range(3)]
            else:  # a smooth ramp
                pixel = [lit * (x + y * c) / (w + h * 2) for c in range(3)]
            out += pixel + ([(x * 7 + y * 3) % 101 / 100] if alpha else [])
    return out


def make_set(folder, bits, little, subject_layout, card_layout, size, icc):
    """card.tif in the card's layout; a second shot card2.tif (with an alpha
    sample when the card has one) and a dark frame dark.tif in one strip; and
    subjects/ in the subjects' layout: a scene, noise, a ramp without a
    profile, a subject of another size and a file that isn't a TIFF."""
    raw, subjects = folder / "raw", folder / "subjects"
    raw.mkdir(parents=True)
    subjects.mkdir()
    (w, h) = size
    shot_layout = "rgba" if card_layout == "rgba" else "strip"
    # name: what it shows, size, seed, profile, where it goes, its layout
    pictures = {"card.tif": ("card", size, 1, icc, folder, card_layout),
                "card2.tif": ("card", size, 2, icc, folder, shot_layout),
                "dark.tif": ("dark", size, 3, icc, folder, "strip"),
                "a_scene.tif": ("scene", size, 4, icc, subjects, subject_layout),
                "b_noise.tif": ("noise", size, 5, icc, subjects, subject_layout),
                "c_ramp.tif": ("ramp", size, 6, b"", subjects, subject_layout),
                "d_other_size.tif": ("scene", (h, w), 7, icc, subjects, subject_layout)}
    for name, (kind, dims, seed, profile, into, layout) in pictures.items():
        form, options = LAYOUTS[layout]
        write_tiff(raw / name, image(kind, dims, seed + bits, form == "alpha"), bits, little, dims,
                   form, profile)
        if options is None:
            shutil.copyfile(raw / name, into / name)
        else:
            options = [o.replace("{h}", str(dims[1])) for o in options]
            subprocess.run([TIFFCP, "-L" if little else "-B", *options, raw / name, into / name],
                           check=True)
    (subjects / "e_not_a_tiff.tif").write_text("no picture here\n")
    shutil.rmtree(raw)


# ---- running both builds ----

# Where the correction modes once said libtiff couldn't read a file that isn't
# a TIFF, every mode now gives our reader's words, as the default did.
ONE_ENGINE_WORDS = re.compile(r'("reason": "|skipped: )libtiff can\'t read it: [^"\n]*Not a TIFF '
                              r'or MDI file, bad magic number [^"\n]*')


def run(command, work, into):
    """Runs the command and keeps its exit status, stdout and stderr as one
    text in into/result.txt: the builds' own folders named alike and JSON's
    "seconds" left out, so that two builds give the same text."""
    done = subprocess.run([str(c) for c in command], capture_output=True, text=True,
                          errors="replace", timeout=600)
    text = f"exit {done.returncode}\n{done.stdout}stderr:\n{done.stderr}"
    # The usage line grew --cards and --record; what follows it is compared.
    text = re.sub(r"usage: brisavane-cli equalize .*", "usage: brisavane-cli equalize ...", text)
    for build in ("before", "after"):
        text = text.replace(str(work / build), str(work / "BUILD"))
    text = "\n".join(json.dumps(drop_seconds(json.loads(line)), sort_keys=True)
                     if line.startswith("{") else line for line in text.splitlines())
    (into / "result.txt").write_text(text)
    return text


# The run's time, and what the JSON gained with the card library: the card
# that served each subject and its gains.
NEW_KEYS = ("seconds", "card", "figures")


def drop_seconds(value):
    if isinstance(value, dict):
        return {k: drop_seconds(v) for k, v in value.items() if k not in NEW_KEYS}
    return value


def read(path):
    return path.read_bytes() if path.is_file() else None


class Tally:
    """What was compared, and what differed."""

    def __init__(self):
        self.compared = self.same = 0
        self.differences, self.disagreements, self.window_changes = [], [], []

    def check(self, what, before, after, found=None):
        self.compared += 1
        self.same += before == after
        if before != after:
            found = self.differences if found is None else found
            found.append(f"{what}: {describe(before, after)}")

    def check_folders(self, what, before, after, informational=False):
        """Every file either build wrote, but the result text."""
        files = {p.relative_to(f) for f in (before, after) for p in f.rglob("*") if p.is_file()}
        for name in sorted(files - {Path("result.txt")}):
            a, b = read(before / name), read(after / name)
            if not informational:
                self.check(f"{what}/{name}", a, b)
            elif a != b:
                self.window_changes.append(f"{what}/{name}: {describe(a, b)}")


def describe(before, after):
    """Where two outputs part: the first byte of two files, the lines of two texts."""
    if before is None or after is None:
        return "only in the " + ("after" if before is None else "before") + " build"
    if isinstance(before, bytes):
        at = next((i for i, (x, y) in enumerate(zip(before, after)) if x != y),
                  min(len(before), len(after)))
        return f"first differing byte at offset {at}"
    lines = difflib.unified_diff(before.splitlines(), after.splitlines(), n=0, lineterm="")
    return "".join("\n      " + line for line in list(lines)[3:15])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("before", type=Path)
    parser.add_argument("after", type=Path)
    parser.add_argument("--keep", type=Path, metavar="WORKDIR")
    args = parser.parse_args()
    programs = {}
    for build, folder in (("before", args.before), ("after", args.after)):
        cli = folder / "cli/brisavane-cli"
        window = next((w for w in (folder / "compare/brisavane-window-run",
                                   folder / "tests/brisavane-window-run") if w.is_file()), None)
        if not (cli.is_file() and window):
            parser.error(f"{folder} has no cli/brisavane-cli and compare/brisavane-window-run")
        programs[build] = (cli.resolve(), window.resolve())
    work = args.keep.resolve() if args.keep else Path(tempfile.mkdtemp(prefix="same-outputs-"))
    for old in ("in", "before", "after"):
        shutil.rmtree(work / old, ignore_errors=True)
    started, tally = time.monotonic(), Tally()
    try:
        compare(work, programs, tally)
    finally:
        if not args.keep:
            shutil.rmtree(work)
    print(f"{tally.compared} outputs compared, {tally.same} identical "
          f"({time.monotonic() - started:.0f} s)")
    for title, lines in (("Different between the builds", tally.differences),
                         ("The after build's window against its command line",
                          tally.disagreements),
                         ("Changed where the window isn't held to the command line "
                          "(informational)", tally.window_changes)):
        print(f"{title}: {len(lines) or 'none'}")
        for line in lines:
            print("  " + line)
    return 1 if tally.differences or tally.disagreements else 0


def compare(work, programs, tally):
    icc = icc_profile()
    cards = {}
    for name, (bits, little, subject_layout, card_layout, size) in SETS.items():
        make_set(work / "in" / name, bits, little, subject_layout, card_layout, size, icc)
        cards.setdefault((bits, little, card_layout, size), name)
    print(f"{len(SETS)} input sets, {len(MODES)} mode sets, {len(set(cards.values()))} cards")

    def both(key, command, informational=False):
        """Runs the command of each build in a folder of its own ({out}),
        compares what they wrote and gives their result texts."""
        outs, results = {build: work / build / key for build in programs}, {}
        for build, (cli, window) in programs.items():
            (outs[build] / "out").mkdir(parents=True)
            fill = {"{cli}": str(cli), "{window}": str(window)}
            results[build] = run([fill.get(str(c), str(c)).replace("{out}", str(outs[build]))
                                  for c in command], work, outs[build])
        results["before"] = ONE_ENGINE_WORDS.sub(r"\1Not a valid TIFF file.", results["before"])
        # A card the earlier build refused for its previews or report may now be read.
        informational |= key.startswith("analyze/") and results["before"].startswith("exit 2")
        if not informational:
            tally.check(key + " (exit status, stdout, stderr)", results["before"], results["after"])
        elif results["before"] != results["after"]:
            tally.window_changes.append(f"{key}: {describe(results['before'], results['after'])}")
        tally.check_folders(key, outs["before"], outs["after"], informational)
        return results["after"]

    for name, (bits, little, subject_layout, card_layout, size) in SETS.items():
        folder = work / "in" / name
        files = {"{card2}": folder / "card2.tif", "{dark}": folder / "dark.tif"}
        for mode in ["default"] if name.startswith("card-") else MODES:
            both(f"equalize/{name}/{mode}",
                 ["{cli}", "equalize", "--white", folder / "card.tif", "--output", "{out}/out",
                  *(files.get(o, o) for o in MODES[mode]), *(["--json"] if mode != "lines" else []),
                  folder / "subjects"])
        if cards[(bits, little, card_layout, size)] == name:
            for analysis, options in ANALYSES.items():
                both(f"analyze/{name}/{analysis}",
                     ["{cli}", "analyze", folder / "card.tif", *options])
        held = subject_layout == "strip" and card_layout == "strip"
        for amount, previews in WINDOW_RUNS if held else WINDOW_RUNS[:1]:
            key = f"window/{name}/{amount}{'' if previews else '-no-previews'}"
            rows = both(key, ["{window}", folder / "card.tif", folder / "subjects", "{out}/out",
                              amount, "--pictures", "{out}/pictures"]
                        + ([] if previews else ["--no-previews"]), informational=not held)
            cli_out = work / "after" / f"equalize/{name}/{WINDOW_MODE[amount]}/out"
            for row in rows.splitlines():
                _, subject, mark, _ = (row.split("\t") + [""] * 4)[:4]
                if mark == "check":
                    output = subject.rsplit(".", 1)[0] + "_eq.tif"
                    tally.check(f"{key}/out/{output} against the command line's",
                                read(work / "after" / key / "out" / output), read(cli_out / output),
                                tally.disagreements)


if __name__ == "__main__":
    sys.exit(main())
