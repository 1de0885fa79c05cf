// Subjects and white cards in the layouts other writers make, equalized by the
// command line: the decoded pixels must be the one-strip engine's, and the
// files keep their layout. Files are made by libtiff's tools or its API.
#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdlib>
#include <sstream>

#include "EqualizeCommand.h"
#include "TempFolder.h"

namespace {
namespace fs = std::filesystem;

// A file's layout and its samples decoded into one interleaved host-order
// buffer, read with libtiff's own scanline and tile calls.
struct Decoded {
    std::uint16_t compression = 1, predictor = 1, planar = 1, samples = 0, bits = 0;
    bool tiled = false, bigTiff = false, bigEndian = false;
    std::uint32_t width = 0, height = 0;
    std::vector<std::uint8_t> pixels;

    std::size_t At(std::uint32_t x, std::uint32_t y, std::uint16_t s) const {
        return ((std::size_t{y} * width + x) * samples + s) * (bits / 8);
    }
};

void Place(Decoded& d, const std::uint8_t* from, std::uint32_t x, std::uint32_t y,
           std::uint16_t s) {
    std::copy_n(from, d.bits / 8, d.pixels.begin() + static_cast<long>(d.At(x, y, s)));
}

void DecodeTiles(TIFF* tif, Decoded& d) {
    std::uint32_t tw = 0, tl = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tw);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tl);
    std::vector<std::uint8_t> tile(TIFFTileSize(tif));
    const std::uint16_t planes = d.planar == PLANARCONFIG_SEPARATE ? d.samples : 1;
    const std::uint16_t per = planes == 1 ? d.samples : 1;
    for (std::uint16_t p = 0; p < planes; ++p)
        for (std::uint32_t ty = 0; ty < d.height; ty += tl)
            for (std::uint32_t tx = 0; tx < d.width; tx += tw) {
                ASSERT_GT(TIFFReadTile(tif, tile.data(), tx, ty, 0, p), 0);
                for (std::uint32_t y = ty; y < std::min(ty + tl, d.height); ++y)
                    for (std::uint32_t x = tx; x < std::min(tx + tw, d.width); ++x)
                        for (std::uint16_t s = 0; s < per; ++s)
                            Place(d, &tile[(((y - ty) * tw + x - tx) * per + s) * (d.bits / 8)], x,
                                  y, p + s);
            }
}

void DecodeStrips(TIFF* tif, Decoded& d) {
    std::vector<std::uint8_t> row(TIFFScanlineSize(tif));
    const std::uint16_t planes = d.planar == PLANARCONFIG_SEPARATE ? d.samples : 1;
    const std::uint16_t per = planes == 1 ? d.samples : 1;
    for (std::uint16_t p = 0; p < planes; ++p)
        for (std::uint32_t y = 0; y < d.height; ++y) {
            ASSERT_EQ(TIFFReadScanline(tif, row.data(), y, p), 1);
            for (std::uint32_t x = 0; x < d.width; ++x)
                for (std::uint16_t s = 0; s < per; ++s)
                    Place(d, &row[(x * per + s) * (d.bits / 8)], x, y, p + s);
        }
}

Decoded Decode(const fs::path& path) {
    Decoded d;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    EXPECT_NE(tif, nullptr) << path;
    if (!tif) return d;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &d.width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &d.height);
    TIFFGetField(tif, TIFFTAG_BITSPERSAMPLE, &d.bits);
    TIFFGetField(tif, TIFFTAG_SAMPLESPERPIXEL, &d.samples);
    TIFFGetField(tif, TIFFTAG_COMPRESSION, &d.compression);
    TIFFGetField(tif, TIFFTAG_PREDICTOR, &d.predictor);
    TIFFGetField(tif, TIFFTAG_PLANARCONFIG, &d.planar);
    d.tiled = TIFFIsTiled(tif);
    d.bigTiff = TIFFIsBigTIFF(tif);
    d.bigEndian = TIFFIsBigEndian(tif);
    d.pixels.resize(d.At(0, d.height, 0));
    d.tiled ? DecodeTiles(tif, d) : DecodeStrips(tif, d);
    TIFFClose(tif);
    return d;
}

struct Api {
    std::uint16_t planar = PLANARCONFIG_CONTIG, compression = COMPRESSION_LZW, predictor = 2;
    bool alpha = false;
};

// Writes the decoded one-strip image through libtiff's API in strips of 16
// rows, as tiffcp can't (16-bit planes, an added alpha sample whose values
// differ from pixel to pixel).
void WriteThroughApi(const Decoded& image, const fs::path& path, const Api& how) {
    const std::uint16_t samples = how.alpha ? 4 : 3;
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, image.width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, image.height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, image.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, how.planar);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 16);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, how.compression);
    TIFFSetField(tif, TIFFTAG_PREDICTOR, how.predictor);
    const std::uint16_t unassociated = EXTRASAMPLE_UNASSALPHA;
    if (how.alpha) TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &unassociated);
    const std::size_t w = image.bits / 8;
    const bool planar = how.planar == PLANARCONFIG_SEPARATE;
    std::vector<std::uint8_t> row(image.width * (planar ? 1 : samples) * w);
    for (std::uint16_t p = 0; p < (planar ? samples : 1); ++p)
        for (std::uint32_t y = 0; y < image.height; ++y) {
            for (std::uint32_t x = 0; x < image.width; ++x)
                for (std::uint16_t s = 0; s < (planar ? 1 : samples); ++s) {
                    std::uint8_t* to = &row[(x * (planar ? 1 : samples) + s) * w];
                    const std::uint16_t sample = planar ? p : s;
                    if (sample < 3)
                        std::copy_n(&image.pixels[image.At(x, y, sample)], w, to);
                    else
                        std::fill_n(to, w, static_cast<std::uint8_t>(x * 7 + y));
                }
            TIFFWriteScanline(tif, row.data(), y, p);
        }
    TIFFClose(tif);
}

struct Layout {
    const char* label;
    const char* tiffcp;  // options of tiffcp, or nullptr for the API
    Api api;
    bool card;  // the white card takes the layout, the subject stays one strip
};

struct Depth {
    const char* card;
    const char* subject;
};

class LibtiffSubject : public ::testing::TestWithParam<std::tuple<Layout, Depth>> {
  protected:
    TempFolder dir;

    int Equalize(const fs::path& card, const fs::path& subject, const fs::path& out) {
        fs::create_directories(out);
        std::ostringstream o, e;
        const int code = RunEqualize({"--white", card, "--output", out, subject}, o, e, nullptr);
        lines = o.str() + e.str();
        return code;
    }
    fs::path Make(const Layout& layout, const fs::path& from, const std::string& name) {
        const fs::path to = dir / name;
        if (layout.tiffcp) {
            const std::string command =
                std::string("tiffcp ") + layout.tiffcp + " " + from.string() + " " + to.string();
            EXPECT_EQ(std::system(command.c_str()), 0) << command;
        } else {
            WriteThroughApi(Decode(from), to, layout.api);
        }
        return to;
    }
    std::string lines;
};

TEST_P(LibtiffSubject, DecodesToTheOneStripEnginesPixelsAndKeepsItsLayout) {
    const auto& [layout, depth] = GetParam();
    const fs::path card = fs::path(BRISAVANE_SAMPLES) / depth.card;
    const fs::path subject = fs::path(BRISAVANE_SAMPLES) / depth.subject;
    ASSERT_EQ(Equalize(card, subject, dir / "engine"), 0) << lines;
    const Decoded engine = Decode(dir / "engine" / (subject.stem().string() + "_eq.tif"));

    const fs::path made = Make(layout, layout.card ? card : subject, "made.tif");
    ASSERT_EQ(
        layout.card ? Equalize(made, subject, dir / "out") : Equalize(card, made, dir / "out"), 0)
        << lines;
    const fs::path output =
        dir / "out" / ((layout.card ? subject.stem().string() : "made") + "_eq.tif");
    const Decoded got = Decode(output);
    const Decoded before = Decode(layout.card ? subject : made);
    EXPECT_EQ(got.compression, before.compression);
    EXPECT_EQ(got.predictor, before.predictor);
    EXPECT_EQ(got.planar, before.planar);
    EXPECT_EQ(got.tiled, before.tiled);
    EXPECT_EQ(got.bigTiff, before.bigTiff);
    EXPECT_EQ(got.bigEndian, before.bigEndian);
    ASSERT_EQ(got.pixels.size(), before.pixels.size());
    std::size_t differing = 0;
    for (std::uint32_t y = 0; y < got.height; ++y)
        for (std::uint32_t x = 0; x < got.width; ++x)
            for (std::uint16_t s = 0; s < got.samples; ++s) {
                const std::uint8_t* want =
                    s < 3 ? &engine.pixels[engine.At(x, y, s)] : &before.pixels[before.At(x, y, s)];
                differing += !std::equal(want, want + got.bits / 8, &got.pixels[got.At(x, y, s)]);
            }
    EXPECT_EQ(differing, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, LibtiffSubject,
    ::testing::Combine(
        ::testing::Values(Layout{"Strips1", "-r 1"}, Layout{"Strips16Lzw2", "-r 16 -c lzw:2"},
                          Layout{"Tiles16Zstd2", "-t -w 16 -l 16 -c zstd:2"},
                          Layout{"Tiles256Deflate2", "-t -w 256 -l 256 -c zip:2"},
                          Layout{"BigTiff", "-8 -r 16"},
                          Layout{"BigEndianPackBits", "-B -r 16 -c packbits"},
                          Layout{"PlanarLzw2", nullptr, {.planar = PLANARCONFIG_SEPARATE}},
                          Layout{"AlphaDeflate2",
                                 nullptr,
                                 {.compression = COMPRESSION_ADOBE_DEFLATE, .alpha = true}},
                          Layout{"CardInTilesLzw2", "-t -w 16 -l 16 -c lzw:2", {}, true},
                          Layout{"CardPlanar", nullptr, {.planar = PLANARCONFIG_SEPARATE}, true}),
        ::testing::Values(Depth{"white_card.tif", "subjects/chart_16bit.tif"},
                          Depth{"white_card_8bit.tif", "subjects_8bit/chart_8bit.tif"})),
    [](const auto& info) {
        return std::string(std::get<0>(info.param).label) +
               (std::get<1>(info.param).card == std::string("white_card.tif") ? "16" : "8");
    });
}  // namespace

namespace {
struct Kind {
    const char* label;
    std::uint16_t bits, samples, photometric, format, compression;
    const char* words;  // what the refusal says the file is
};

// One strip of zero bytes with the kind's fields, as libtiff writes them.
void WriteKind(const fs::path& path, const Kind& kind) {
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, 360);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, 240);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, kind.format);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, kind.compression);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, 240);
    std::vector<std::uint16_t> map(256);
    if (kind.photometric == PHOTOMETRIC_PALETTE)
        TIFFSetField(tif, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
    std::vector<std::uint8_t> strip(360 * 240 * kind.samples * kind.bits / 8);
    TIFFWriteRawStrip(tif, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
    TIFFClose(tif);
}

class RefusedKind : public ::testing::TestWithParam<Kind> {};

TEST_P(RefusedKind, IsRefusedAsSubjectAndCardWithItsWordsAndNothingWritten) {
    TempFolder dir;
    const fs::path file = dir / "kind.tif", out = dir / "out";
    const fs::path card = fs::path(BRISAVANE_SAMPLES) / "white_card.tif";
    WriteKind(file, GetParam());
    fs::create_directories(out);
    std::ostringstream o, e, co, ce;
    EXPECT_EQ(RunEqualize({"--white", card, "--output", out, file}, o, e, nullptr), 1);
    EXPECT_EQ(o.str(), std::string("kind.tif: skipped: this is ") + GetParam().words + "\n");
    EXPECT_EQ(RunEqualize({"--white", file, "--output", out, card}, co, ce, nullptr), 2);
    EXPECT_EQ(ce.str(), std::string("Error: The white card can't be used: this is ") +
                            GetParam().words + "\n");
    EXPECT_TRUE(fs::is_empty(out));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, RefusedKind,
    ::testing::Values(
        Kind{"Jpeg", 8, 3, PHOTOMETRIC_RGB, SAMPLEFORMAT_UINT, COMPRESSION_JPEG,
             "a TIFF with lossy compression 7: it would have to be re-encoded with a loss"},
        Kind{"OldJpeg", 8, 3, PHOTOMETRIC_RGB, SAMPLEFORMAT_UINT, COMPRESSION_OJPEG,
             "a TIFF with lossy compression 6: it would have to be re-encoded with a loss"},
        Kind{"YCbCr", 8, 3, PHOTOMETRIC_YCBCR, SAMPLEFORMAT_UINT, COMPRESSION_NONE,
             "a YCbCr TIFF: only RGB can be equalized"},
        Kind{"Palette", 8, 1, PHOTOMETRIC_PALETTE, SAMPLEFORMAT_UINT, COMPRESSION_NONE,
             "a palette TIFF: only RGB can be equalized"},
        Kind{"Grey", 16, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_UINT, COMPRESSION_NONE,
             "a greyscale TIFF: only RGB can be equalized"},
        Kind{"FloatInOneStrip", 32, 3, PHOTOMETRIC_RGB, SAMPLEFORMAT_IEEEFP, COMPRESSION_NONE,
             "a TIFF of 32-bit floating-point samples: only 8- or 16-bit unsigned integers can "
             "be equalized"},
        Kind{"Signed", 16, 3, PHOTOMETRIC_RGB, SAMPLEFORMAT_INT, COMPRESSION_NONE,
             "a TIFF of 16-bit samples: only 8- or 16-bit unsigned integers can be equalized"},
        Kind{"TwoColours", 8, 2, PHOTOMETRIC_RGB, SAMPLEFORMAT_UINT, COMPRESSION_LZW,
             "a TIFF of 2 colour samples a pixel: only 3 (RGB) can be equalized"}),
    [](const auto& info) { return std::string(info.param.label); });
}  // namespace

namespace {
const TIFFFieldInfo kPrivate[] = {
    {65000, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("Private")},
    {37724, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("LayerData")}};

void SetBytes(TIFF* tif, ttag_t tag, const std::string& bytes) {
    TIFFSetField(tif, tag, static_cast<std::uint32_t>(bytes.size()), bytes.data());
}

// The subject in strips of 16 rows, LZW with predictor 2, with an ICC
// profile, XMP, IPTC, Photoshop resources, layer data, a private tag and
// EXIF and GPS directories, written the way libtiff's own tests write them.
void WriteTagged(const Decoded& image, const fs::path& path) {
    WriteThroughApi(image, path, {});
    TIFF* tif = TIFFOpen(path.c_str(), "r+");
    TIFFMergeFieldInfo(tif, kPrivate, 2);
    SetBytes(tif, TIFFTAG_ICCPROFILE, std::string(600, 'c'));
    SetBytes(tif, TIFFTAG_XMLPACKET, "<x:xmpmeta>kept</x:xmpmeta>");
    SetBytes(tif, TIFFTAG_PHOTOSHOP, std::string(40, 'p'));
    SetBytes(tif, 65000, "private bytes");
    SetBytes(tif, 37724, std::string(300, 'l'));
    std::vector<std::uint32_t> iptc(8, 0x1c020000);
    TIFFSetField(tif, TIFFTAG_RICHTIFFIPTC, 8u, iptc.data());
    TIFFRewriteDirectory(tif);
    std::uint64_t exif = 0, gps = 0;
    TIFFCreateEXIFDirectory(tif);
    TIFFSetField(tif, EXIFTAG_EXPOSURETIME, 0.008);
    TIFFWriteCustomDirectory(tif, &exif);
    TIFFCreateGPSDirectory(tif);
    TIFFSetField(tif, GPSTAG_ALTITUDE, 1234.5);
    TIFFWriteCustomDirectory(tif, &gps);
    TIFFSetDirectory(tif, 0);
    TIFFSetField(tif, TIFFTAG_EXIFIFD, exif);
    TIFFSetField(tif, TIFFTAG_GPSIFD, gps);
    TIFFRewriteDirectory(tif);
    TIFFClose(tif);
}

std::string Run(const std::string& command) {
    std::string text;
    FILE* pipe = ::popen(command.c_str(), "r");
    for (int c; pipe && (c = std::fgetc(pipe)) != EOF;) text.push_back(static_cast<char>(c));
    if (pipe) ::pclose(pipe);
    return text;
}

// Every tag with all its values, as tiffdump lists them, less the file's name,
// the strip offsets and byte counts and the place of the directory, which may
// move; then the fields of the EXIF and GPS directories it points to.
std::string Tags(const fs::path& path) {
    const std::string dump = "tiffdump -m 100000 ";
    const std::string moving = " | grep -v -e '^/' -e '^Directory' -e '^Magic' -e '^Strip'";
    std::string tags = Run(dump + path.string() + moving);
    for (const std::string ifd : {"34665 (0x8769) IFD (13) 1<", "34853 (0x8825) IFD (13) 1<"}) {
        const std::size_t at = tags.find(ifd);
        if (at == std::string::npos) return tags;
        const std::string offset =
            tags.substr(at + ifd.size(), tags.find('>', at) - at - ifd.size());
        tags += Run(dump + "-o " + offset + " " + path.string() + moving);
    }
    return tags;
}

TEST(TaggedSubject, KeepsEveryTagButThePhotoshopLayersWhichTheLineNames) {
    TempFolder dir;
    const fs::path card = fs::path(BRISAVANE_SAMPLES) / "white_card.tif";
    const fs::path subject = dir / "tagged.tif", out = dir / "out";
    WriteTagged(Decode(fs::path(BRISAVANE_SAMPLES) / "subjects/chart_16bit.tif"), subject);
    fs::create_directories(out);
    std::ostringstream o, e;
    ASSERT_EQ(RunEqualize({"--white", card, "--output", out, subject}, o, e, nullptr), 0)
        << e.str();
    EXPECT_EQ(o.str(), "tagged.tif: written " + (out / "tagged_eq.tif").string() +
                           " (Photoshop layer data removed)\n");
    std::string before = Tags(subject);
    const std::string after = Tags(out / "tagged_eq.tif");
    for (const char* expected : {"ICC Profile (34675)", "700 (0x2bc)", "33723 (0x83bb)",
                                 "34377 (0x8649)", "65000 (0xfde8)", "34665", "34853",
                                 "37724 (0x935c)", "33434 (0x829a) RATIONAL", "6 (0x6) RATIONAL"})
        EXPECT_NE(before.find(expected), std::string::npos) << expected << "\n" << before;
    const std::size_t layers = before.find("37724 (0x935c)");
    before.erase(layers, before.find('\n', layers) + 1 - layers);
    EXPECT_EQ(after, before);
}
}  // namespace
