#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <cmath>

#include <nlohmann/json.hpp>

#include "CardMatch.h"
#include "DirectoryBytes.h"
#include "ExifTiff.h"
#include "FileSha256.h"
#include "TempFolder.h"
#include "Version.h"
#include "support/CliRun.h"
#include "support/TiffBuilder.h"

namespace {
using testing_tiff::ReadFile;

// The same body with a zoom whose widest apertures are unknown (0).
void Zoom(CardExif& exif) {
    exif.lensModel = "Zoom 24-70mm";
    exif.lensSpecification = {{24, 70, 0, 0}};
    exif.focalLength = 50;
}

CardExif WrittenAndRead(const std::filesystem::path& path, const CardExif& exif) {
    WriteExifTiff(path, exif);
    std::string why;
    const std::optional<CardExif> read = ReadCardExif(path.string(), why);
    EXPECT_TRUE(read) << path << ": " << why;
    return read.value_or(CardExif{});
}

// Cards and subjects go through a TIFF and ReadCardExif, so the rules see what
// libtiff makes of the EXIF (floats, trimmed strings). Each subject is a shot
// with the macro at f/8 two hours after card a, changed as its row says.
TEST(CardLibrary, ChoosesTheCardOfTheSameShotNearestInTime) {
    TempFolder folder;
    CardExif zoom = Macro(8, "2024:05:01 10:00:00");
    Zoom(zoom);
    std::vector<LibraryCard> cards;
    for (const auto& [name, exif] : {std::pair{"a.tif", Macro(8, "2024:05:01 10:00:00")},
                                     {"b.tif", Macro(8, "2024:05:03 10:00:00")},
                                     {"c.tif", Macro(11, "2024:05:01 10:00:00")},
                                     {"d.tif", zoom}})
        cards.push_back({(folder / name).string(), WrittenAndRead(folder / name, exif)});

#define SET(...) [](CardExif& e) { __VA_ARGS__; }
    const std::string macro = "Camera X, Macro 100mm, 100 mm, f/8";
    const auto no = [](const std::string& shot, const std::string& counts) {
        return "no card in cards/ matches " + shot + " (" + counts + ")";
    };
    const std::string tie = "2 cards in cards/ match " + macro + " equally: a.tif, b.tif (";
    const struct {
        void (*change)(CardExif&);
        std::string expected;  // the chosen card's name, or the failure
    } kRows[] = {
        {[](CardExif&) {}, "a.tif"},
        {SET(e.model = "Camera X \t"), "a.tif"},
        {SET(e.dateTimeOriginal = "2024:05:03 08:00:00"), "b.tif"},
        {SET(e.dateTimeOriginal = "2024:05:02 10:00:00"),
         tie + "shot as long before the subject as after it)"},
        {SET(e.dateTimeOriginal.reset()), tie + "the subject has no time)"},
        {SET(e.fNumber = 11), "c.tif"},
        {SET(e.fNumber = 8 * std::exp2(1.0 / 12)), "a.tif"},  // 1/6 stop
        {SET(e.fNumber = 8 * std::exp2(1.0 / 12) * 1.0001),
         no("Camera X, Macro 100mm, 100 mm, f/8.48",
            "1 card of another lens, 3 cards of another aperture")},
        {SET(e.focalLength = 99), "a.tif"},  // 1 % of the card's
        {SET(e.focalLength = 101.01),
         no("Camera X, Macro 100mm, 101.01 mm, f/8",
            "1 card of another lens, 3 cards of another focal length")},
        {SET(e.lensModel.reset()), "a.tif"},  // by lens make and focal and aperture range
        {SET(Zoom(e); e.lensModel.reset()),
         no("Camera X, Lenscorp 24-70 mm f/?, 50 mm, f/8", "4 cards of another lens")},
        {Zoom, "d.tif"},
        {SET(e.model = "camera x"),
         no("camera x, Macro 100mm, 100 mm, f/8", "4 cards of another camera")},
        {SET(e.width = 7), no(macro, "4 cards of another size")},
        {SET(e.bitsPerSample = 8), no(macro, "4 cards of another depth")},
        {SET(e.hasExif = false), "the subject has no EXIF to match a card by"},
    };
#undef SET
    for (const auto& row : kRows) {
        CardExif subject = Macro(8, "2024:05:01 12:00:00");
        row.change(subject);
        const CardChoice choice =
            ChooseCard(WrittenAndRead(folder / "subject.tif", subject), cards, "cards/");
        EXPECT_EQ(choice.card ? std::filesystem::path(cards[*choice.card].path).filename().string()
                              : choice.failure,
                  row.expected);
    }
}

// A library of four cards, each of its own pixels (two lenses, two
// apertures, one shot again two days later) and one without EXIF. Each
// subject's output must be the bytes of a run with --white of the card
// chosen for it (which card the rules choose is ChooseCard's, above); the
// others get a line that says why none was, and with --white too the card
// given serves those that match none, but not those that match two.
class CardLibraryRun : public ::testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directories(folder / "cards");
        std::filesystem::create_directories(folder / "subjects");
        CardExif zoom = Macro(8, "2024:05:01 10:00:00");
        Zoom(zoom);
        for (const auto& [name, exif, level] :
             {std::tuple{"a.tif", Macro(8, "2024:05:01 10:00:00"), 61000},
              {"b.tif", Macro(8, "2024:05:03 10:00:00"), 60000},
              {"c.tif", Macro(11, "2024:05:01 10:00:00"), 59000},
              {"d.tif", zoom, 58000},
              {"e.tif", CardExif{.width = 6, .height = 4, .bitsPerSample = 16}, 57000}})
            WriteExifTiff(folder / "cards" / name, exif,
                          {.level = static_cast<std::uint16_t>(level)});
        WriteExifTiff(folder / "white.tif", {.width = 6, .height = 4, .bitsPerSample = 16},
                      {.level = 56000});
    }
    void Subject(const char* name, const CardExif& exif, ExifTiffBody body = {.level = 30000}) {
        WriteExifTiff(folder / "subjects" / name, exif, body);
    }
    // The run's lines, and its outputs in out.
    CliRun Run(const std::string& out, std::vector<std::string> more) {
        std::filesystem::create_directories(folder / out);
        std::vector<std::string> args = {"--output", folder / out, "--jobs", "2"};
        args.insert(args.end(), more.begin(), more.end());
        args.push_back(folder / "subjects");
        return Equalize(args);
    }
    // The output of one subject equalized by one card alone.
    std::string ByCardAlone(const std::string& subject, const std::filesystem::path& card) {
        const std::filesystem::path out = folder / "alone" / subject;
        std::filesystem::create_directories(out);
        EXPECT_EQ(Equalize({"--white", card, "--output", out, folder / "subjects" / subject}).code,
                  0);
        return ReadFile(out / (subject.substr(0, subject.size() - 4) + "_eq.tif"));
    }
    TempFolder folder;
};

TEST_F(CardLibraryRun, EachSubjectGetsTheBytesOfItsCard) {
    CardExif zoom = Macro(8, "2024:05:01 11:00:00");
    Zoom(zoom);
    Subject("1.tif", Macro(8, "2024:05:01 12:00:00"));
    Subject("3.tif", Macro(11, "2024:05:01 12:00:00"));
    Subject("4.tif", zoom, {.level = 35000, .compression = COMPRESSION_LZW});
    Subject("5.tif", Macro(5.6, "2024:05:01 12:00:00"));
    Subject("6.tif", Macro(8, "2024:05:02 10:00:00"));
    Subject("7.tif", {.width = 6, .height = 4, .bitsPerSample = 16});
    const std::string cards = folder / "cards", white = folder / "white.tif";
    const std::string macro = "Camera X, Macro 100mm, 100 mm, f/";
    const struct {
        const char* subject;
        const char* card;       // alone; then with --white
        const char* withWhite;  // the card with --white too
        std::string failure;    // of the run without --white
    } kRows[] = {
        {"1.tif", "a.tif", "a.tif", ""},
        {"3.tif", "c.tif", "c.tif", ""},
        {"4.tif", "d.tif", "d.tif", ""},
        {"5.tif", nullptr, "white",
         "no card in " + cards + " matches " + macro +
             "5.6 (1 card without EXIF, 1 card of another lens, 3 "
             "cards of another aperture)"},
        {"6.tif", nullptr, nullptr,
         "2 cards in " + cards + " match " + macro +
             "8 equally: a.tif, b.tif (shot as long before the "
             "subject as after it)"},
        {"7.tif", nullptr, "white", "the subject has no EXIF to match a card by"},
    };
    const CliRun alone = Run("library", {"--cards", cards, "--json"});
    const CliRun both = Run("both", {"--cards", cards, "--white", white});
    EXPECT_EQ(alone.code, 1);
    std::istringstream objects(alone.out), lines(both.out);
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.subject);
        std::string object, line;
        std::getline(objects, object);
        std::getline(lines, line);
        const auto o = nlohmann::json::parse(object);
        const std::string name = std::string(row.subject, 1) + "_eq.tif";
        if (row.card) {
            const std::string card = cards + "/" + row.card;
            EXPECT_EQ(o["notes"], nlohmann::json::array({std::string("card: ") + row.card}));
            EXPECT_EQ(o["card"], nlohmann::json::array({card}));
            EXPECT_EQ(ReadFile(folder / "library" / name), ByCardAlone(row.subject, card));
        } else {
            EXPECT_EQ(o["reason"], row.failure);
            EXPECT_TRUE(o["card"].is_null());
        }
        if (!row.withWhite)
            EXPECT_EQ(line, std::string(row.subject) + ": failed: " + row.failure);
        else if (std::string(row.withWhite) == "white")
            EXPECT_EQ(ReadFile(folder / "both" / name), ByCardAlone(row.subject, white));
        else
            EXPECT_EQ(line, std::string(row.subject) + ": written " +
                                (folder / "both" / name).string() + " (card: " + row.withWhite +
                                ")");
    }
}

// The packet of tag 700, as libtiff reads it.
std::string Packet(const std::filesystem::path& path) {
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    std::uint32_t count = 0;
    const char* data = nullptr;
    std::string packet;
    if (tif && TIFFGetField(tif, TIFFTAG_XMLPACKET, &count, &data)) packet.assign(data, count);
    if (tif) TIFFClose(tif);
    return packet;
}

// --record: the entry (whose place in a packet XmpHistoryTest shows) comes
// into the packet already there, on either road; the file is the output
// without --record, with the new packet and directory after it and the
// header pointing there; the directory holds the same entries, tag 700's
// aside. A packet that can't be read is left alone.
TEST_F(CardLibraryRun, RecordAddsTheHistoryAndKeepsEverythingElse) {
    const std::string created =
        R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/)"
        R"(22-rdf-syntax-ns#"><rdf:Description rdf:about="" xmlns:dc="http://purl.org/dc/)"
        R"(elements/1.1/"><dc:format>created</dc:format></rdf:Description></rdf:RDF></x:xmpmeta>)";
    const CardExif shot = Macro(8, "2024:05:01 12:00:00");
    Subject("none.tif", shot);
    Subject("kept.tif", shot, {.level = 30000, .compression = COMPRESSION_LZW, .xmp = created});
    Subject("bad.tif", shot, {.level = 30000, .xmp = "<x:xmpmeta><unclosed"});
    const std::string cards = folder / "cards";
    const std::vector<std::string> options = {"--cards", cards,        "--amount",
                                              "87.5",    "--max-gain", "1.02"};
    ASSERT_EQ(Run("plain", options).code, 0);
    std::vector<std::string> recording = options;
    recording.push_back("--record");
    const CliRun run = Run("recorded", recording);
    const std::string parameters = "card=a.tif; sha256=" + *FileSha256(cards + "/a.tif") +
                                   "; amount=87.5%; options=--max-gain 1.02";
    for (const char* name : {"bad", "kept", "none"}) {
        SCOPED_TRACE(name);
        const std::string output = std::string(name) + "_eq.tif";
        const std::string plain = ReadFile(folder / "plain" / output);
        const std::string recorded = ReadFile(folder / "recorded" / output);
        const std::string packet = Packet(folder / "recorded" / output);
        const bool bad = std::string(name) == "bad";
        EXPECT_NE(run.out.find(output + " (card: a.tif; gain capped on 50.0 % of pixels; " +
                               (bad ? "history not recorded: the XMP packet can't be read)\n"
                                    : "history recorded in XMP)\n")),
                  std::string::npos);
        if (bad) {
            EXPECT_EQ(recorded, plain);
            continue;
        }
        EXPECT_EQ(recorded.substr(0, 4) + recorded.substr(8, plain.size() - 8),
                  plain.substr(0, 4) + plain.substr(8));
        const std::size_t ours = packet.find("flat-field corrected");
        EXPECT_LT(packet.find(std::string(name) == "kept" ? "created" : "xmpmeta"), ours);
        EXPECT_NE(packet.find(parameters, ours), std::string::npos);
        EXPECT_NE(packet.find(std::string("Brisavane ") + kBrisavaneVersion), std::string::npos);
        std::vector<std::vector<std::uint8_t>> entries[2];
        for (int k = 0; k < 2; ++k) {
            const std::filesystem::path path = folder / (k ? "recorded" : "plain") / output;
            const int fd = ::open(path.c_str(), O_RDONLY);
            const auto directory = ReadDirectoryBytes(fd);
            ::close(fd);
            ASSERT_TRUE(directory);
            for (std::size_t at = 0; at < directory->entries.size(); at += 12)
                if (directory->shape.Load(&directory->entries[at], 2) != 700)
                    entries[k].emplace_back(&directory->entries[at], &directory->entries[at] + 12);
        }
        EXPECT_EQ(entries[0], entries[1]);
    }
}

// What analyze --cards shows of a library: each card's EXIF and green, or why
// it can't be matched.
TEST_F(CardLibraryRun, AnalyzeListsTheLibrary) {
    WriteExifTiff(folder / "cards" / "f.tif", Macro(8, "2024:05:03 10:00:00"), {.level = 50000});
    std::ofstream(folder / "cards" / "g.tif") << "not a TIFF";
    const CliRun r = Analyze({"--cards", folder / "cards"});
    EXPECT_EQ(r.code, 0);
    std::istringstream lines(r.out);
    std::string line;
    for (const std::string expected : {
             "a.tif: Camera X, Macro 100mm, 100 mm, f/8, shot 2024:05:01 10:00:00 (6 x 4, "
             "16-bit), green 57333 to 60789",
             "b.tif: ",
             "c.tif: ",
             "d.tif: ",
             "e.tif: can't be matched: it has no EXIF, green 53333 to 56789",
             "f.tif: Camera X, Macro 100mm, 100 mm, f/8, shot 2024:05:03 10:00:00 (6 x 4, "
             "16-bit), green 46333 to 49789; the same shot as b.tif, so neither is chosen",
             "g.tif: can't serve as a card: ",
         }) {
        std::getline(lines, line);
        EXPECT_EQ(line.substr(0, expected.size()), expected);
    }
}

}  // namespace
