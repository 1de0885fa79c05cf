#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "AnalyzeCommand.h"
#include "BatchRig.h"
#include "EqualizeCommand.h"
#include "FakeWhiteCardHost.h"
#include "FileHashes.h"
#include "TiffBuilder.h"

using testing_tiff::BuildTiff;
using testing_tiff::Entry;
using testing_tiff::ReadFile;
using testing_tiff::TiffSpec;

namespace {
constexpr const char* kCardIncomplete =
    "Error: The white card image data is incomplete: the file ends before its last pixel row.";
constexpr const char* kSubjectIncomplete =
    "Image data is incomplete: the file ends before its last pixel row.";

// Files whose pixel data the file can't hold. All claim 1024 x 512 pixels in
// one strip, the size of the white card below, so that a subject passes the
// strip and size tests and meets the extent check. The products are worked
// out by hand from bits x samples / 8 bytes a pixel:
//   65535 x 4294967295 / 8 = 35183835209728 bytes a pixel; x 1024 x 512 is
//     about 1.8e19, past 2^63;
//   32768 x 4294967295 / 8 = 2^44 - 2^12; x 1024 x 512 = 2^63 - 2^31, and an
//     offset of 2^31 carries the sum to 2^63, again past the 64-bit range.
struct HostileCase {
    const char* label;
    int bits;
    std::vector<Entry> overrides;  // later entries win over the standard ones
    bool wholeRowsButOne = false;  // all pixel bytes there but the very last
    bool sameSizeAsTheCard = true;
};

// Named by its label in test listings.
void PrintTo(const HostileCase& c, std::ostream* os) {
    *os << c.label;
}

std::string HostileBytes(const HostileCase& c) {
    TiffSpec image = c.wholeRowsButOne ? testing_tiff::SpecOf(1024, 512, 8, true) : TiffSpec{};
    image.bits = c.bits == 8 ? 8 : 16;  // the samples written; the list below says c.bits
    image.extra = {{256, 4, 1, 1024}, {257, 4, 1, 512}, {278, 4, 1, 512}};
    image.extra.insert(image.extra.end(), c.overrides.begin(), c.overrides.end());
    image.dropTailBytes = c.wholeRowsButOne ? 1 : 0;
    testing_tiff::BuiltTiff built = BuildTiff(image);
    for (std::size_t k = 0; k < 3; ++k) {  // the bits-per-sample list stands before the pixels
        built.bytes[built.imageOffset - 6 + 2 * k] = static_cast<char>(c.bits);
        built.bytes[built.imageOffset - 5 + 2 * k] = static_cast<char>(c.bits >> 8);
    }
    return built.bytes;
}

const HostileCase kHostile[] = {
    {"LastByteMissing", 8, {}, true},
    {"OffsetPastTheEnd", 8, {{273, 4, 1, 0xFFFFFFF0u}}},
    {"RowsOverflow", 65535, {{277, 4, 1, 0xFFFFFFFFu}}},
    {"OffsetPlusRowsOverflow", 32768, {{277, 4, 1, 0xFFFFFFFFu}, {273, 4, 1, 0x80000000u}}},
    // 35183835209728 bytes a pixel x 4294967295 pixels leaves the range in
    // the row length itself.
    {"RowLengthOverflows",
     65535,
     {{277, 4, 1, 0xFFFFFFFFu}, {256, 4, 1, 0xFFFFFFFFu}},
     false,
     false},
};

std::string Label(const ::testing::TestParamInfo<HostileCase>& info) {
    return info.param.label;
}

// The white card, opened in the window and given to brisavane-cli: refused
// with the message, before the scan announces itself.
class HostileWhiteCard : public ::testing::TestWithParam<HostileCase> {};

TEST_P(HostileWhiteCard, IsRefusedBeforeTheScan) {
    TempFolder dir;
    const std::string path = dir / "card.tif";
    testing_tiff::WriteFile(path, HostileBytes(GetParam()));

    WindowState state;
    FakeWhiteCardHost host;
    host.dialogs.openAnswers.push_back(path);
    OpenWhiteCard(state, host);
    EXPECT_EQ(host.dialogs.messages, std::vector<std::string>{kCardIncomplete});
    EXPECT_FALSE(state.WhiteOpened);
    EXPECT_FALSE(state.Tiffb);
    for (const std::string& shown : host.statusShown) EXPECT_EQ(shown, "");

    std::ostringstream out, err;
    // The command line names absurd depths before the missing rows.
    EXPECT_EQ(RunAnalyze({path}, out, err), 2);
    EXPECT_EQ(out.str(), "");
}

INSTANTIATE_TEST_SUITE_P(Files, HostileWhiteCard, ::testing::ValuesIn(kHostile), Label);

// An 8-bit white card of the hostile subjects' size.
TiffSpec BigCard() {
    TiffSpec s = testing_tiff::SpecOf(1024, 512, 8, true);
    s.pixel = [](std::uint32_t x, std::uint32_t y) {
        return testing_tiff::Rgb{200, static_cast<std::uint16_t>(100 + (x + y) % 100), 200};
    };
    return s;
}

std::vector<HostileCase> SubjectCases() {
    std::vector<HostileCase> cases;
    for (const HostileCase& c : kHostile)
        if (c.sameSizeAsTheCard) cases.push_back(c);
    return cases;
}

// The subject, in the window's batch and in brisavane-cli: Cross (or a failed
// line) with the text, and nothing made for it: no preview, no copy, no rows.
class HostileSubject : public ::testing::TestWithParam<HostileCase> {};

TEST_P(HostileSubject, IsRefusedBeforeAnyRow) {
    BatchRig rig(BigCard());
    ASSERT_TRUE(rig.state.Tiffb);
    testing_tiff::WriteFile(rig.SubjectPath("bad.tif"), HostileBytes(GetParam()));
    rig.host.rows.push_back({true, "bad.tif"});
    rig.Press();
    EXPECT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Cross}}));
    EXPECT_EQ(rig.Message(0), kSubjectIncomplete);
    EXPECT_TRUE(rig.host.statuses.empty());
    EXPECT_TRUE(rig.host.progress.maxima.empty());
    EXPECT_FALSE(rig.state.psubject);
    EXPECT_FALSE(rig.state.presult);
    EXPECT_TRUE(HashFolder(rig.dir.Path() / "out").empty());

    std::ostringstream out, err;
    const int code = RunEqualize(
        {"--white", rig.dir / "white.tif", "--output", rig.dir / "out", rig.SubjectPath("bad.tif")},
        out, err, nullptr);
    EXPECT_EQ(code, 1);
    EXPECT_TRUE(HashFolder(rig.dir.Path() / "out").empty());
}

INSTANTIATE_TEST_SUITE_P(Files, HostileSubject, ::testing::ValuesIn(SubjectCases()), Label);

// Pixel sizes other than 3 and 6 bytes come from sample counts or depths no
// camera writes. What they yield isn't settled; what is: the rows stay inside
// their buffers (the sanitized build checks every access), the file is
// finished with Check, every byte outside the pixel rows is the subject's;
// the command line, which judges them by libtiff's reading, changes no subject.
struct PixelSizeCase {
    const char* label;
    int subjectBits;
    std::uint32_t subjectSamples;
    bool subjectLittle;
    int whiteBits;
    std::uint32_t whiteSamples;
    bool whiteLittle;
};

// Named by its label in test listings.
void PrintTo(const PixelSizeCase& c, std::ostream* os) {
    *os << c.label;
}

// A single bits-per-sample value sits in its entry, where the reader never
// looks, so a one-sample file is little-endian to be read as one sample.
TiffSpec OddSpec(int bits, std::uint32_t samples, bool little, std::uint16_t base) {
    TiffSpec s = testing_tiff::SpecOf(6, 4, bits, little);
    s.samples = samples;
    s.pixel = [base](std::uint32_t x, std::uint32_t y) {
        return testing_tiff::Rgb{static_cast<std::uint16_t>(base + 9 * x),
                                 static_cast<std::uint16_t>(base + 5 * y + x),
                                 static_cast<std::uint16_t>(base / 2)};
    };
    s.trailer = "bytes after the rows";
    return s;
}

class OddPixelSize : public ::testing::TestWithParam<PixelSizeCase> {};

TEST_P(OddPixelSize, StaysInsideTheRows) {
    const PixelSizeCase& c = GetParam();
    const TiffSpec white = OddSpec(c.whiteBits, c.whiteSamples, c.whiteLittle, 150);
    BatchRig rig(white);
    ASSERT_TRUE(rig.state.Tiffb);
    const TiffSpec subject = OddSpec(c.subjectBits, c.subjectSamples, c.subjectLittle, 20);
    const std::string bytes = BuildTiff(subject).bytes;
    rig.AddSubject("odd.tif", bytes);
    rig.Press();
    ASSERT_EQ(rig.host.marks, (std::map<std::int64_t, RowMark>{{0, RowMark::Check}}))
        << rig.Message(0);
    EXPECT_EQ(ReadFile(rig.SubjectPath("odd.tif")), bytes);

    const std::string output = ReadFile(rig.OutputPath("odd_eq.tif"));
    ASSERT_EQ(output.size(), bytes.size());
    const std::size_t start = BuildTiff(subject).imageOffset;
    const std::size_t rows = 4 * 6 * (c.subjectBits * c.subjectSamples / 8);
    EXPECT_EQ(output.substr(0, start), bytes.substr(0, start));
    EXPECT_EQ(output.substr(start + rows), bytes.substr(start + rows));

    std::filesystem::create_directories(rig.dir.Path() / "cli");
    std::ostringstream out, err;
    RunEqualize(
        {"--white", rig.dir / "white.tif", "--output", rig.dir / "cli", rig.SubjectPath("odd.tif")},
        out, err, nullptr);
    EXPECT_EQ(ReadFile(rig.SubjectPath("odd.tif")), bytes);

    // The same file as a white card in the window, with preview and tone map.
    WindowState state;
    FakeWhiteCardHost host;
    host.dialogs.openAnswers.push_back(rig.SubjectPath("odd.tif"));
    OpenWhiteCard(state, host);
    EXPECT_TRUE(state.WhiteOpened);
    ASSERT_TRUE(state.ptone);
    EXPECT_EQ(state.ptone->Width(), 6);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, OddPixelSize,
    ::testing::Values(PixelSizeCase{"One", 8, 1, true, 16, 3, false},
                      PixelSizeCase{"TwoWithOneByteCard", 16, 1, true, 8, 1, true},
                      PixelSizeCase{"Four", 8, 4, false, 8, 3, true},
                      PixelSizeCase{"FiveWithEightByteCard", 8, 5, true, 16, 4, false},
                      PixelSizeCase{"EightWithThreeByteCard", 16, 4, false, 8, 3, true},
                      PixelSizeCase{"TenWithSixByteCard", 16, 5, true, 16, 3, false},
                      PixelSizeCase{"ThreeWithTenByteCard", 8, 3, false, 16, 5, true}),
    [](const auto& info) { return std::string(info.param.label); });

}  // namespace
