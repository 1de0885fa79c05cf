// Subjects and white cards in the layouts other writers make, equalized by the
// command line: the decoded pixels must be the one-strip engine's, and every
// tag stays. Files are made by tiffcp (libtiff's API adds the tags it can't)
// or come from other writers (tests/data/writers).
#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstdlib>

#include "CliRun.h"
#include "LibtiffFile.h"
#include "LibtiffFiles.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

namespace {
namespace fs = std::filesystem;
const fs::path kSamples = BRISAVANE_SAMPLES;
const fs::path kWriters = fs::path(BRISAVANE_TEST_DATA) / "writers";

// A file's samples, decoded strip by strip or tile by tile into one
// interleaved host-order image.
struct Decoded {
    std::uint32_t width = 0, height = 0;
    std::uint16_t samples = 0, bits = 0;
    std::vector<std::uint8_t> pixels;

    std::size_t At(std::uint32_t x, std::uint32_t y, std::uint16_t s) const {
        return ((std::size_t{y} * width + x) * samples + s) * (bits / 8);
    }
};

Decoded Decode(const fs::path& path) {
    LibtiffFile file(path, "r");
    Decoded d{file.width, file.height, file.samples, file.bits};
    d.pixels.resize(d.At(0, file.height, 0));
    std::vector<std::uint8_t> chunk(file.ChunkBytes());
    const std::size_t w = d.bits / 8, per = file.ChunkSamples();
    for (std::uint32_t c = 0; c < file.Chunks() && file.ReadChunk(c, chunk.data()) > 0; ++c) {
        const LibtiffFile::Place at = file.PlaceOf(c);
        for (std::uint32_t y = 0; y < at.rows; ++y)
            for (std::uint32_t x = 0; x < at.width * per; ++x)
                std::copy_n(&chunk[y * at.rowBytes + x * w], w,
                            &d.pixels[d.At(at.x + x / per, at.y + y, at.plane + x % per)]);
    }
    EXPECT_EQ(file.Error(), "") << path;
    return d;
}

void Shell(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

// Every tag with all its values, as tiffdump lists them, less the file's name,
// the places that may move and, in the input, Photoshop's layers.
std::string Tags(const fs::path& path, const fs::path& list, bool input) {
    Shell("tiffdump -m 100000 " + path.string() +
          " | grep -v -e '^/' -e '^Directory' -e '^Strip' " + "-e '^Tile[OB]'" +
          (input ? " -e ^37724" : "") + " >" + list.string());
    return testing_tiff::ReadFile(list);
}

// Adds an ICC profile, XMP, Photoshop resources and layer data, a private tag,
// IPTC and EXIF and GPS directories, as libtiff's own tests write them.
void AddTags(const fs::path& path) {
    static const TIFFFieldInfo kUnknown[] = {
        {65000, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("Private")},
        {37724, -1, -1, TIFF_UNDEFINED, FIELD_CUSTOM, 1, 1, const_cast<char*>("Layers")}};
    TIFF* tif = TIFFOpen(path.c_str(), "r+");
    TIFFMergeFieldInfo(tif, kUnknown, 2);
    for (const auto& [tag, bytes] :
         std::initializer_list<std::pair<ttag_t, std::string>>{{34675, std::string(600, 'c')},
                                                               {700, "<x:xmpmeta/>"},
                                                               {34377, std::string(40, 'p')},
                                                               {65000, "private"},
                                                               {37724, std::string(300, 'l')}})
        TIFFSetField(tif, tag, static_cast<std::uint32_t>(bytes.size()), bytes.data());
    const std::uint32_t iptc[] = {0x1c020000, 0x1c020005};
    TIFFSetField(tif, TIFFTAG_RICHTIFFIPTC, 2u, iptc);
    TIFFRewriteDirectory(tif);
    std::uint64_t exif = 0, gps = 0;
    TIFFCreateEXIFDirectory(tif);
    TIFFSetField(tif, EXIFTAG_EXPOSURETIME, 0.008);
    TIFFWriteCustomDirectory(tif, &exif);
    TIFFFreeDirectory(tif);  // libtiff 4.5.0 would leak the EXIF fields
    TIFFCreateGPSDirectory(tif);
    TIFFSetField(tif, GPSTAG_ALTITUDE, 1234.5);
    TIFFWriteCustomDirectory(tif, &gps);
    TIFFSetDirectory(tif, 0);
    TIFFSetField(tif, TIFFTAG_EXIFIFD, exif);
    TIFFSetField(tif, TIFFTAG_GPSIFD, gps);
    TIFFRewriteDirectory(tif);
    TIFFClose(tif);
}

// The colour samples of a file in one plain strip.
fs::path WritePlain(const fs::path& from, const fs::path& to) {
    const Decoded image = Decode(from);
    LibtiffImage plain{image.width, image.height, image.bits};
    for (std::size_t at = 0; at < image.pixels.size(); at += image.At(1, 0, 0))
        plain.pixels.insert(plain.pixels.end(), &image.pixels[at],
                            &image.pixels[at] + 3 * image.bits / 8);
    WriteWithLibtiff(to, plain);
    return to;
}

struct Layout {
    const char* label;
    const char* tiffcp;            // options of tiffcp
    bool tagged = false;           // tags that tiffcp doesn't write are added
    bool card = false;             // the white card takes the layout, the subject stays one strip
    const char* writer = nullptr;  // a file of tests/data/writers, against its own pixels
};

struct Depth {
    const char *card, *subject, *bits;
};

class LibtiffSubject : public ::testing::TestWithParam<std::tuple<Layout, Depth>> {
  protected:
    std::string EqualizeInto(const fs::path& card, const fs::path& subject, const fs::path& out) {
        fs::create_directories(out);
        const CliRun run = Equalize({"--white", card, "--output", out, subject});
        EXPECT_EQ(run.code, 0) << run.out << run.err;
        return run.out;
    }
    fs::path Make(const Layout& layout, const fs::path& from) {
        const fs::path to = dir / "made.tif";
        // The tagged file has a second page, which must stay as it was.
        const std::string pages = from.string() + (layout.tagged ? " " + from.string() : "");
        Shell("tiffcp " + std::string(layout.tiffcp) + " " + pages + " " + to.string());
        if (layout.tagged) AddTags(to);
        return to;
    }
    // The file's second page as tiffcp copies it out; empty when there is none.
    std::string SecondPage(const fs::path& file, const char* name) {
        const std::string page = dir / name;
        const std::string copy = "tiffcp " + file.string() + ",1 " + page + " 2>/dev/null";
        return std::system(copy.c_str()) == 0 ? testing_tiff::ReadFile(page) : "";
    }
    TempFolder dir;
};

TEST_P(LibtiffSubject, DecodesToTheOneStripEnginesPixelsAndKeepsEveryTag) {
    const auto& [layout, depth] = GetParam();
    fs::path card = kSamples / depth.card, subject = kSamples / depth.subject;
    const fs::path writer =
        kWriters / (std::string(layout.writer ? layout.writer : "") + "_" + depth.bits + ".tif");
    if (layout.writer) card = subject = WritePlain(writer, dir / "plain.tif");
    EqualizeInto(card, subject, dir / "engine");
    const Decoded engine = Decode(dir / "engine" / (subject.stem().string() + "_eq.tif"));

    const fs::path made = layout.writer ? writer : Make(layout, layout.card ? card : subject);
    const fs::path input = layout.card ? subject : made;
    const std::string line = layout.card ? EqualizeInto(made, subject, dir / "out")
                                         : EqualizeInto(card, made, dir / "out");
    const fs::path output = dir / "out" / (input.stem().string() + "_eq.tif");
    // Photoshop's layers go, and the line says so; every other tag stays.
    EXPECT_EQ(line.ends_with(" (Photoshop layer data removed)\n"), layout.tagged) << line;
    EXPECT_EQ(Tags(output, dir / "out.tags", false), Tags(input, dir / "in.tags", true));
    EXPECT_EQ(SecondPage(output, "out.page"), SecondPage(input, "in.page"));
    // Colour samples are the engine's, any others the input's.
    const Decoded got = Decode(output), before = Decode(input);
    ASSERT_EQ(got.pixels.size(), before.pixels.size());
    std::size_t differing = 0;
    for (std::size_t i = 0, size = got.bits / 8; i < got.pixels.size() / size; ++i) {
        const std::size_t s = i % got.samples, at = (i / got.samples * 3 + s) * size;
        const std::uint8_t* want = s < 3 ? &engine.pixels[at] : &before.pixels[i * size];
        differing += !std::equal(want, want + size, &got.pixels[i * size]);
    }
    EXPECT_EQ(differing, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, LibtiffSubject,
    ::testing::Combine(
        ::testing::Values(
            Layout{"Strips1", "-r 1"}, Layout{"Strips16Lzw2", "-r 16 -c lzw:2"},
            Layout{"Tiles16Zstd2", "-t -w 16 -l 16 -c zstd:2"},
            Layout{"Tiles256Deflate2", "-t -w 256 -l 256 -c zip:2"}, Layout{"BigTiff", "-8 -r 16"},
            Layout{"BigEndianPackBits", "-B -r 16 -c packbits"},
            Layout{"TaggedLzw2", "-r 16 -c lzw:2", true},
            Layout{"CardInTilesLzw2", "-t -w 16 -l 16 -c lzw:2", false, true},
            Layout{"CardBigEndianStrips", "-B -r 16", false, true},
            Layout{"CardPlanarDeflate2", nullptr, false, true, "tifffile_planar"},
            Layout{"ImageMagickStrips", nullptr, false, false, "imagemagick_strips"},
            Layout{"ImageMagickLzwIcc", nullptr, false, false, "imagemagick_lzw_icc"},
            Layout{"ImageMagickZip", nullptr, false, false, "imagemagick_zip"},
            Layout{"VipsCopy", nullptr, false, false, "vips_copy"},
            Layout{"VipsTilesLzw", nullptr, false, false, "vips_tiles_lzw"},
            Layout{"TifffilePlanarDeflate2", nullptr, false, false, "tifffile_planar"},
            Layout{"TifffileInfraredDeflate2", nullptr, false, false, "tifffile_extra"}),
        ::testing::Values(Depth{"white_card.tif", "subjects/chart_16bit.tif", "16"},
                          Depth{"white_card_8bit.tif", "subjects_8bit/chart_8bit.tif", "8"})),
    [](const auto& info) {
        return std::get<0>(info.param).label + std::string("_") + std::get<1>(info.param).bits +
               "bit";
    });

// One strip of zero bytes of each kind, refused as a subject and as a white
// card in its words, with nothing written; a damaged file (the second of two
// strips missing) fails.
TEST(RefusedKind, IsRefusedAsSubjectAndCardWithItsWords) {
    const std::tuple<unsigned, unsigned, unsigned, unsigned, unsigned, std::string> kinds[] = {
        // bits, samples, photometric, sample format, compression, words
        {8, 3, 2, 1, 7, "a TIFF with lossy compression 7: it would"},
        {8, 3, 2, 1, 6, "a TIFF with lossy compression 6: it would"},
        {8, 3, 6, 1, 1, "a YCbCr TIFF: only RGB"},
        {8, 1, 3, 1, 1, "a palette TIFF: only RGB"},
        {16, 1, 1, 1, 1, "a greyscale TIFF: only RGB"},
        {32, 3, 2, 3, 1, "a TIFF of 32-bit floating-point"},
        {16, 3, 2, 2, 1, "a TIFF of 16-bit samples: only 8- or 16"},
        {8, 2, 2, 1, 5, "a TIFF of 2 colour samples a pixel"},
        {16, 3, 2, 1, 1, "strip 1 is missing from the file"}};
    const fs::path card = kSamples / "white_card.tif";
    for (const auto& [bits, samples, photometric, format, compression, words] : kinds) {
        TempFolder dir;
        const fs::path file = dir / "kind.tif", out = dir / "out";
        const bool damaged = words.starts_with("strip");
        const unsigned rows = damaged ? 120 : 240;
        TIFF* tif = TIFFOpen(file.c_str(), "w");
        for (const auto& [tag, value] : {std::pair<ttag_t, unsigned>{256, 360},
                                         {257, 240},
                                         {258, bits},
                                         {277, samples},
                                         {262, photometric},
                                         {284, 1},
                                         {278, rows},
                                         {259, compression},
                                         {339, format}})
            TIFFSetField(tif, tag, value);
        std::vector<std::uint16_t> map(256);
        if (photometric == PHOTOMETRIC_PALETTE)
            TIFFSetField(tif, TIFFTAG_COLORMAP, map.data(), map.data(), map.data());
        std::vector<std::uint8_t> strip(360 * rows * samples * bits / 8);
        TIFFWriteRawStrip(tif, 0, strip.data(), static_cast<tmsize_t>(strip.size()));
        TIFFClose(tif);
        fs::create_directories(out);
        const CliRun subject = Equalize({"--white", card, "--output", out, file});
        const CliRun white = Equalize({"--white", file, "--output", out, card});
        EXPECT_EQ(subject.code, 1);
        EXPECT_EQ(white.code, 2);
        EXPECT_EQ(subject.out.rfind((damaged ? "kind.tif: failed: Image data is incomplete: "
                                             : "kind.tif: skipped: this is ") +
                                        words,
                                    0),
                  0u)
            << subject.out;
        EXPECT_EQ(white.err.rfind((damaged ? "Error: The white card's pixels can't be decoded: "
                                           : "Error: The white card can't be used: this is ") +
                                      words,
                                  0),
                  0u)
            << white.err;
        EXPECT_TRUE(fs::is_empty(out)) << words;
    }
}
}  // namespace
