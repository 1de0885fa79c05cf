#!/usr/bin/env python3
"""Writes the small seed files the fuzzers start from: both byte orders, both
depths, a white card and a subject of the same size, one multi-strip file;
the two fixed white cards that every mutated subject is equalized with;
subjects of the cards' size in every layout libtiff writes (tiffcp: LZW,
Deflate, PackBits, strips, tiles, planes, BigTIFF, alpha, layer data); cards
large enough for a report (40 x 30), some with ICC profiles; and ICC profiles
made by LittleCMS.

    python3 fuzz/make_corpus.py
"""
import ctypes
import ctypes.util
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "samples"))
from make_samples import lcms_library, saved_profile, srgb_profile, write_tiff  # noqa: E402

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


# Layouts tiffcp writes a file in: (name, options).
TILES = ["-t", "-w", "16", "-l", "16"]
LAYOUTS = (
    ("lzw", ["-c", "lzw"]),
    ("lzw2", ["-c", "lzw:2"]),
    ("zip", ["-c", "zip"]),
    ("zip2_rows1", ["-c", "zip:2", "-r", "1"]),
    ("packbits", ["-c", "packbits"]),
    ("rows1", ["-r", "1"]),
    ("rows3", ["-r", "3"]),
    ("tiles", TILES),
    ("tiles_lzw", TILES + ["-c", "lzw"]),
    ("bigtiff", ["-8"]),
    ("bigtiff_lzw", ["-8", "-c", "lzw"]),
)
# The same from a file of separate planes, which tiffcp keeps.
PLANAR_LAYOUTS = (
    ("planar", []),
    ("planar_rows1", ["-r", "1"]),
    ("planar_zip_tiles", TILES + ["-c", "zip"]),
)


def tiffcp(source, target, options, order):
    subprocess.run(["tiffcp", *options, order, str(source), str(target)], check=True)


def write_raw(path, pixel, bits, little, width, height, alpha=False, planar=False, layers=b"",
              icc=b""):
    """Uncompressed RGB, one strip a plane, with what write_tiff doesn't make:
    an unassociated alpha sample, separate planes (which tiffcp can't make of
    16-bit samples), Photoshop layer data (tag 37724)."""
    order = "<" if little else ">"
    samples = 4 if alpha else 3
    peak = 255 if bits == 8 else 65535
    fmt = "B" if bits == 8 else "H"
    values = [pixel(x, y) + ((0.5 + 0.05 * x,) if alpha else ())
              for y in range(height) for x in range(width)]
    level = [[min(peak, round(v * peak)) for v in pixel_values] for pixel_values in values]
    if planar:
        strips = [struct.pack(order + fmt * len(level), *(p[s] for p in level))
                  for s in range(samples)]
    else:
        strips = [b"".join(struct.pack(order + fmt * samples, *p) for p in level)]
    longs = len(strips) > 1
    # (tag, type, count, value): a number, bytes, or None for the strips' offsets.
    entries = [(256, 4, 1, width), (257, 4, 1, height),
               (258, 3, samples, struct.pack(order + "H" * samples, *[bits] * samples)),
               (259, 3, 1, 1), (262, 3, 1, 2), (273, 4, len(strips), None),
               (277, 3, 1, samples), (278, 4, 1, height),
               (279, 4, len(strips), struct.pack(order + "I" * len(strips),
                                                 *(len(strip) for strip in strips))
                if longs else len(strips[0])),
               (284, 3, 1, 2 if planar else 1)]
    if alpha:
        entries.append((338, 3, 1, 2))
    if layers:
        entries.append((37724, 7, len(layers), bytes(layers)))
    if icc:
        entries.append((34675, 7, len(icc), bytes(icc)))
    at = 8 + 2 + 12 * len(entries) + 4
    outside = []  # values that don't fit in their entry, in entry order
    out = bytearray(b"II" if little else b"MM") + struct.pack(order + "HI", 42, 8)
    out += struct.pack(order + "H", len(entries))
    for tag, typ, count, data in entries:
        if data is None:
            out += struct.pack(order + "HHI", tag, typ, count)
            offsets_entry = len(out)
            out += b"\0" * 4
            if longs:
                outside.append(b"\0" * 4 * count)
                offsets_at = at
                at += len(outside[-1])
        elif isinstance(data, bytes) and len(data) > 4:
            out += struct.pack(order + "HHII", tag, typ, count, at)
            outside.append(data + b"\0" * (len(data) % 2))
            at += len(outside[-1])
        elif isinstance(data, bytes):
            out += struct.pack(order + "HHI", tag, typ, count) + data.ljust(4, b"\0")
        elif typ == 3:
            out += struct.pack(order + "HHIHH", tag, typ, count, data, 0)
        else:
            out += struct.pack(order + "HHII", tag, typ, count, data)
    out += struct.pack(order + "I", 0)
    for data in outside:
        out += data
    offsets = []
    for strip in strips:
        offsets.append(len(out))
        out += strip
    if longs:
        struct.pack_into(order + "I", out, offsets_entry, offsets_at)
        struct.pack_into(order + "I" * len(offsets), out, offsets_at, *offsets)
    else:
        struct.pack_into(order + "I", out, offsets_entry, offsets[0])
    path.write_bytes(out)


def layouts(folder, pixel, width, height, icc=b"", kinds=((8, True), (8, False), (16, True),
                                                           (16, False))):
    """The pixels in each layout, at each depth and byte order of kinds."""
    with tempfile.TemporaryDirectory() as scratch:
        for bits, little in kinds:
            stem = f"{bits}bit_{'le' if little else 'be'}"
            order = "-L" if little else "-B"
            plain, planar = Path(scratch) / "plain.tif", Path(scratch) / "planar.tif"
            write_tiff(plain, pixel, bits, little, width=width, height=height, icc=icc)
            write_raw(planar, pixel, bits, little, width, height, planar=True, icc=icc)
            for name, options in LAYOUTS:
                tiffcp(plain, folder / f"{stem}_{name}.tif", options, order)
            for name, options in PLANAR_LAYOUTS:
                tiffcp(planar, folder / f"{stem}_{name}.tif", options, order)
            for planes in (False, True):
                alpha = Path(scratch) / "alpha.tif"
                write_raw(alpha, pixel, bits, little, width, height, alpha=True, planar=planes,
                          icc=icc)
                for name, options in (("", []), ("_tiles_lzw", TILES + ["-c", "lzw"])):
                    planar_name = "_planar" if planes else ""
                    tiffcp(alpha, folder / f"{stem}_alpha{planar_name}{name}.tif", options, order)


def card40(x, y):
    """A card of the report's smallest useful size: a falloff, a faint warm
    cast on the right, and two dust specks."""
    dim = 0.7 if (x, y) in ((9, 8), (30, 21)) else 1.0
    light = dim * (1.0 - 0.0002 * ((x - 22) ** 2 + (y - 14) ** 2))
    return (0.93 * light * (1 + 0.002 * x), 0.95 * light, 0.91 * light)


def icc_profiles():
    """Profiles that LittleCMS makes: sRGB, a gamma-2.2 matrix profile, one
    with a parametric curve for each channel apart, a tabulated curve with
    flat steps, a tabulated falling curve, a Lab profile and a grey one."""
    lcms = lcms_library()
    vp, c_double = ctypes.c_void_p, ctypes.c_double
    lcms.cmsBuildGamma.restype = vp
    lcms.cmsBuildGamma.argtypes = [vp, c_double]
    lcms.cmsBuildParametricToneCurve.restype = vp
    lcms.cmsBuildParametricToneCurve.argtypes = [vp, ctypes.c_int32, ctypes.POINTER(c_double)]
    lcms.cmsBuildTabulatedToneCurve16.restype = vp
    lcms.cmsBuildTabulatedToneCurve16.argtypes = [vp, ctypes.c_uint32,
                                                  ctypes.POINTER(ctypes.c_uint16)]
    lcms.cmsCreateRGBProfile.restype = vp
    lcms.cmsCreateRGBProfile.argtypes = [vp, vp, ctypes.POINTER(vp)]
    lcms.cmsCreateLab4Profile.restype = vp
    lcms.cmsCreateLab4Profile.argtypes = [vp]
    lcms.cmsCreateGrayProfile.restype = vp
    lcms.cmsCreateGrayProfile.argtypes = [vp, vp]
    lcms.cmsSetProfileVersion.argtypes = [vp, c_double]
    lcms.cmsFreeToneCurve.argtypes = [vp]

    white = (c_double * 3)(0.3127, 0.3290, 1.0)
    primaries = (c_double * 9)(0.64, 0.33, 1.0, 0.30, 0.60, 1.0, 0.15, 0.06, 1.0)

    def saved(profile, version=4.3):
        lcms.cmsSetProfileVersion(profile, version)
        return saved_profile(lcms, profile)

    def table(values):
        return lcms.cmsBuildTabulatedToneCurve16(None, len(values),
                                                 (ctypes.c_uint16 * len(values))(*values))
    rgb_primaries = ctypes.cast(primaries, vp)

    def rgb_profile(curves, version=4.3):
        profile = lcms.cmsCreateRGBProfile(ctypes.cast(white, vp), rgb_primaries,
                                           (vp * 3)(*curves))
        data = saved(profile, version)
        for curve in set(curves):
            lcms.cmsFreeToneCurve(curve)
        return data

    srgb_like = (c_double * 5)(2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045)
    steps = [min(65535, (k // 8) * 8 * 1040) for k in range(64)]
    profiles = {
        "srgb.icc": srgb_profile(),
        "gamma22.icc": rgb_profile([lcms.cmsBuildGamma(None, 2.2)] * 3),
        "gamma22_v2.icc": rgb_profile([lcms.cmsBuildGamma(None, 2.2)] * 3, 2.1),
        "parametric_apart.icc": rgb_profile([
            lcms.cmsBuildParametricToneCurve(None, 4, srgb_like),
            lcms.cmsBuildGamma(None, 1.8), lcms.cmsBuildGamma(None, 1.0)]),
        "tabulated_steps.icc": rgb_profile([table(steps)] * 3),
        "tabulated_falling.icc": rgb_profile([
            lcms.cmsBuildGamma(None, 2.2), table([65535 - 1000 * k for k in range(64)]),
            lcms.cmsBuildGamma(None, 2.2)]),
        "lab.icc": saved(lcms.cmsCreateLab4Profile(None)),
        "gray.icc": saved(lcms.cmsCreateGrayProfile(ctypes.cast(white, vp),
                                                    lcms.cmsBuildGamma(None, 2.2))),
    }
    return profiles


def main():
    for target in ("reader", "equalize", "report", "icc"):
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

    # Subjects of the fixed cards' size (6 x 4) in every layout, one a size
    # apart, and one with Photoshop's layer data, which the copy drops.
    layouts(HERE / "equalize", scene, 6, 4)
    write_tiff(HERE / "equalize" / "7x5.tif", scene, 8, True, width=7, height=5)
    write_raw(HERE / "equalize" / "8bit_le_layers.tif", scene, 8, True, 6, 4,
              layers=b"Adobe Photoshop Document Data Block\0" + bytes(range(40)))

    profiles = icc_profiles()
    for name, data in profiles.items():
        (HERE / "icc" / name).write_bytes(data)
    # Cards for the report: plain, in each layout, and with profiles.
    layouts(HERE / "report", card40, 40, 30, icc=profiles["srgb.icc"],
            kinds=((8, True), (16, False)))
    for name in ("gamma22", "parametric_apart", "tabulated_steps", "tabulated_falling", "lab"):
        for bits, little in ((8, True), (16, False)):
            write_tiff(HERE / "report" / f"{bits}bit_{'le' if little else 'be'}_{name}.tif",
                       card40, bits, little, width=40, height=30, icc=profiles[f"{name}.icc"])
    for bits, little in ((8, False), (16, True)):
        write_tiff(HERE / "report" / f"{bits}bit_{'le' if little else 'be'}_no_profile.tif",
                   card40, bits, little, width=40, height=30)


if __name__ == "__main__":
    main()
