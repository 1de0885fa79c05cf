#include <gtest/gtest.h>

#include "BatchRig.h"
#include "CliRun.h"
#include "FakeWhiteCardHost.h"
#include "TiffBuilder.h"

using namespace testing_tiff;

namespace {
constexpr const char* kCardIncomplete =
    "Error: The white card image data is incomplete: the file ends before its last pixel row.";

// A file whose pixel data the file can't hold, claiming 1024 x 512 pixels in
// one strip; bits is what its bits-per-sample list says.
struct Hostile {
    const char* label;
    int bits;
    std::vector<Entry> overrides;
    bool lastByteMissing;
};

std::string HostileBytes(const Hostile& h) {
    TiffSpec image = h.lastByteMissing ? SpecOf(1024, 512, 8, true) : TiffSpec{};
    image.bits = h.bits == 8 ? 8 : 16;  // the samples written
    image.extra = {{256, 4, 1, 1024}, {257, 4, 1, 512}, {278, 4, 1, 512}};
    image.extra.insert(image.extra.end(), h.overrides.begin(), h.overrides.end());
    image.dropTailBytes = h.lastByteMissing ? 1 : 0;
    BuiltTiff built = BuildTiff(image);
    for (std::size_t k = 0; k < 3; ++k) {  // the bits-per-sample list stands before the pixels
        built.bytes[built.imageOffset - 6 + 2 * k] = static_cast<char>(h.bits);
        built.bytes[built.imageOffset - 5 + 2 * k] = static_cast<char>(h.bits >> 8);
    }
    return built.bytes;
}

// Every way a white card is turned away, in the window and in brisavane-cli:
// the window's message box (none for a file that isn't a TIFF) and the
// command line's error, exit 2; the former card stays and no scan begins.
struct CardRefusal {
    const char* label;
    std::function<void(const std::string&)> make;
    const char* window;  // how the message box starts; nullptr: silent
    const char* cli;     // how the command line's error starts
};

constexpr const char* kStripMissing =
    "Error: The white card's pixels can't be decoded: strip 1 is missing from the file";
constexpr const char* kDepth = "Error: The white card can't be used: this is a TIFF of ";
constexpr const char* kUnopened = "Error: The white card file can't be opened: ";

std::vector<CardRefusal> CardRefusals() {
    std::vector<CardRefusal> cases = {
        // One strip's offset and byte count for the two strips the rows make.
        {"TwoStrips", [](const auto& p) { WriteTiff(p, Tagged({}, true, 8, 2)); }, kStripMissing,
         kStripMissing},
        {"NotATiff", [](const auto& p) { WriteFile(p, std::string("PK\x03\x04\0\0", 6)); }, nullptr,
         "Not a valid TIFF file."},
        {"Folder", [](const auto& p) { std::filesystem::create_directories(p); },
         "Error: ", kUnopened},
    };
    // Bytes a pixel (bits x samples / 8) times the pixels pass 2^63: alone,
    // in the row length, or (2^63 - 2^31 for 32768 bits) with an offset of 2^31.
    const Hostile hostile[] = {
        {"LastByteMissing", 8, {}, true},
        {"OffsetPastTheEnd", 8, {{273, 4, 1, 0xFFFFFFF0u}}, false},
        {"RowsOverflow", 65535, {{277, 4, 1, 0xFFFFFFFFu}}, false},
        {"OffsetPlusRowsOverflow", 32768, {{277, 4, 1, 0xFFFFFFFFu}, {273, 4, 1, 0x80000000u}}},
        {"RowLengthOverflows", 65535, {{277, 4, 1, 0xFFFFFFFFu}, {256, 4, 1, 0xFFFFFFFFu}}},
    };
    // The samples are judged before the extent: absurd depths are refused as such.
    for (const Hostile& h : hostile) {
        const char* words = h.bits > 16 ? kDepth : kCardIncomplete;
        cases.push_back(
            {h.label, [h](const auto& p) { WriteFile(p, HostileBytes(h)); }, words, words});
    }
    return cases;
}

class CardRefused : public ::testing::TestWithParam<CardRefusal> {};

TEST_P(CardRefused, InTheWindowAndOnTheCommandLine) {
    const CardRefusal& c = GetParam();
    TempFolder dir;
    WriteTiff(dir / "good.tif", TiffSpec{});
    const std::string path = dir / "bad.tif";
    c.make(path);
    WindowState state;
    FakeWhiteCardHost host;
    host.dialogs.openAnswers = {dir / "good.tif", path};
    OpenWhiteCard(state, host);
    const auto card = state.Tiffb;
    ASSERT_TRUE(card);
    host.statusShown.clear();
    OpenWhiteCard(state, host);
    ASSERT_EQ(host.dialogs.messages.size(), c.window ? 1u : 0u);
    if (c.window) {
        EXPECT_EQ(host.dialogs.messages[0].rfind(c.window, 0), 0u);
    }
    EXPECT_EQ(state.Tiffb, card);
    EXPECT_FALSE(state.WhiteOpened);
    for (const std::string& shown : host.statusShown) EXPECT_EQ(shown, "");
    EXPECT_EQ(host.labels[WhiteLabel::TxtInfoWhite], "");

    const CliRun run = Analyze({path});
    EXPECT_EQ(run.code, 2) << run.err;
    EXPECT_EQ(run.err.rfind(c.cli, 0), 0u) << run.err;
    EXPECT_TRUE(run.out.empty());
}

INSTANTIATE_TEST_SUITE_P(Files, CardRefused, ::testing::ValuesIn(CardRefusals()),
                         [](const auto& info) { return std::string(info.param.label); });

// Pixels of fewer than three samples called RGB: the window refuses them in
// words with a cross, as the command line does, reads no row outside its
// buffers (the sanitized build checks every access), writes no output and
// changes no subject; as a white card, each is refused. (Samples past the
// third are extra samples to libtiff, kept as they are.)
struct Side {
    int bits;
    std::uint32_t samples;
    bool little;
};
// A single bits-per-sample value sits in its entry, where our reader never
// looks, so a one-sample file is little-endian to be read as one sample.
TiffSpec OddSpec(Side side, std::uint16_t base) {
    TiffSpec s = testing_tiff::SpecOf(6, 4, side.bits, side.little);
    s.samples = side.samples;
    s.pixel = [base](std::uint32_t x, std::uint32_t y) {
        return testing_tiff::Rgb{static_cast<std::uint16_t>(base + 9 * x),
                                 static_cast<std::uint16_t>(base + 5 * y + x),
                                 static_cast<std::uint16_t>(base / 2)};
    };
    s.trailer = "bytes after the rows";
    return s;
}

TEST(OddPixelSize, IsRefusedInWordsAndChangesNothing) {
    const Side sides[] = {{8, 1, true}, {16, 1, true}, {8, 2, false}, {16, 2, false}};
    for (const Side& side : sides) {
        SCOPED_TRACE(::testing::Message() << side.bits << " x " << side.samples);
        BatchRig rig(Card(side.bits));
        const std::string bytes = BuildTiff(OddSpec(side, 20)).bytes;
        rig.AddSubject("odd.tif", bytes);
        rig.Press();
        EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Cross}}));
        EXPECT_FALSE(rig.Message(0).empty());
        EXPECT_EQ(ReadFile(rig.SubjectPath("odd.tif")), bytes);
        EXPECT_FALSE(std::filesystem::exists(rig.OutputPath("odd_eq.tif")));

        WindowState state;
        FakeWhiteCardHost host;
        host.dialogs.openAnswers.push_back(rig.SubjectPath("odd.tif"));
        OpenWhiteCard(state, host);
        EXPECT_FALSE(state.WhiteOpened);
    }
}
}  // namespace
