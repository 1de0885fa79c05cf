// brisavane-cli analyze WHITE: the figures it prints, and the false-colour map
// of the card's preview (--tone-map), read back from the PNG.

#include <gtest/gtest.h>

#include "CliRun.h"
#include "LibtiffFiles.h"
#include "PngDecode.h"
#include "TempFolder.h"

using namespace testing_tiff;
using namespace testing_png;

namespace {
// The 8-bit maximum's text, without the parentheses, is the white card
// workflow's own (WhiteCardWorkflowTest). --channels rgb adds a line a channel.
TEST(CliAnalyze, PrintsTheFourLinesFor16BitAndAChannelEach) {
    TempFolder folder;
    std::vector<std::uint16_t> samples(36, 1000);
    samples[3 * 6 + 1] = 61680;  // green of pixel (2, 1)
    samples[3 * 9 + 1] = 257;    // green of pixel (1, 2)
    samples[3 * 11] = 5000;      // red of pixel (3, 2)
    samples[3 * 4 + 2] = 2;      // blue of pixel (0, 1)
    LibtiffImage image = ImageOfSamples(4, 3, 16, samples);
    image.bigEndian = true;
    WriteWithLibtiff(folder / "w.tif", image);
    const std::string lines =
        "Size: 4 x 3 pixels  16 bits/channel\nMaximum: 61680 (240)\nMinimum: 257\n"
        "Location:   x: 2  y: 1\n";
    const CliRun green = Analyze({folder / "w.tif"});
    EXPECT_EQ(green.code, 0) << green.err;
    EXPECT_EQ(green.out, lines);
    EXPECT_EQ(Analyze({folder / "w.tif", "--channels", "rgb"}).out,
              lines +
                  "Red: maximum 5000, minimum 1000, brightest at x: 3  y: 2\n"
                  "Green: maximum 61680, minimum 257, brightest at x: 2  y: 1\n"
                  "Blue: maximum 1000, minimum 2, brightest at x: 0  y: 0\n");
}

// A source pixel of the card and the colour the map gives it.
struct Band {
    Rgb card;
    Rgb map;
};

// Writes a card of one row of the given pixels over a second row of a grey
// that is 100 on the 8-bit scale.
std::string CardWith(const TempFolder& dir, const std::vector<Band>& bands, int bits, bool little) {
    TiffSpec card = SpecOf(static_cast<std::uint32_t>(bands.size()), 2, bits, little);
    const std::uint16_t grey = bits == 8 ? 100 : 25700;
    card.pixel = [bands, grey](std::uint32_t x, std::uint32_t y) {
        return y == 0 ? bands[x].card : Rgb{grey, grey, grey};
    };
    WriteTiff(dir / "card.tif", card);
    return dir / "card.tif";
}

// A card is mapped from its 8-bit preview, whose bytes for a 16-bit card are
// the samples / 257 truncated: 51399 is 199.99... and so below the lowest band.
TEST(CliToneMap, CardIsMappedFromItsEightBitPreview) {
    struct Case {
        int bits;
        bool little;
        std::vector<Band> bands;
    };
    const Case cases[] = {
        {8, true, {{{10, 255, 20}, {255, 0, 0}}, {{9, 199, 11}, {9, 199, 11}}}},
        {16, true, {{{0, 65535, 0}, {255, 0, 0}}, {{0, 51400, 0}, {0, 0, 255}}}},
        {16, false, {{{65535, 51399, 256}, {255, 199, 0}}, {{257, 0, 514}, {1, 0, 2}}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bits);
        TempFolder dir;
        const CliRun r =
            Analyze({CardWith(dir, c.bands, c.bits, c.little), "--tone-map", dir / "tone.png"});
        ASSERT_EQ(r.code, 0) << r.err;
        const Decoded png = Decode(ReadFile(dir / "tone.png"));
        ASSERT_EQ(png.width, c.bands.size());
        ASSERT_EQ(png.height, 2u);
        std::string want;  // each scan line starts with its filter byte, 0
        for (const int row : {0, 1}) {
            want += '\0';
            for (const Band& b : c.bands)
                for (const std::uint16_t v : {b.map.r, b.map.g, b.map.b})
                    want += static_cast<char>(row == 0 ? v : 100);
        }
        EXPECT_EQ(png.scanLines, want);
    }
}

// A card wider than the window's 230-pixel canvas is mapped at the preview's
// size, every second column and row. With both pictures asked for, each file
// is the one that asking for it alone gives, and the printed figures don't
// change.
TEST(CliToneMap, MapHasThePreviewSizeAndGoesWithThePreview) {
    TempFolder dir;
    TiffSpec card = SpecOf(460, 12, 8, true);
    card.pixel = [](std::uint32_t x, std::uint32_t) {
        return Rgb{0, static_cast<std::uint16_t>(x % 2 == 0 ? 250 : 0), 0};
    };
    WriteTiff(dir / "wide.tif", card);
    const CliRun alone = Analyze({dir / "wide.tif", "--tone-map", dir / "alone.png"});
    const CliRun both =
        Analyze({dir / "wide.tif", "--preview", dir / "p.png", "--tone-map", dir / "t.png"});
    ASSERT_EQ(both.code, 0) << both.err;
    EXPECT_EQ(both.out, alone.out);
    EXPECT_EQ(ReadFile(dir / "t.png"), ReadFile(dir / "alone.png"));
    for (const auto& [file, pixel] :
         {std::pair{"t.png", "\xff\x00\x00"}, {"p.png", "\x00\xfa\x00"}}) {
        const Decoded png = Decode(ReadFile(dir / file));
        EXPECT_EQ(png.width, 230u);
        EXPECT_EQ(png.height, 6u);
        for (std::size_t k = 1; k < png.scanLines.size(); k += 3 * png.width + 1)
            EXPECT_EQ(png.scanLines.substr(k, 3), std::string(pixel, 3)) << file;
    }
}

TEST(CliToneMap, UnwritablePathIsOneWithTheFiguresPrinted) {
    TempFolder dir;
    const CliRun r = Analyze({CardWith(dir, {{{0, 250, 0}, {255, 0, 0}}}, 8, true), "--tone-map",
                              dir / "missing/tone.png"});
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.out.find("Maximum: 250\n"), std::string::npos);
    EXPECT_EQ(r.err,
              "brisavane-cli analyze: can't write " + (dir / "missing/tone.png").string() + "\n");
}
}  // namespace
