#include <gtest/gtest.h>

#include <cmath>

#include "CardMatch.h"
#include "ExifTiff.h"
#include "TempFolder.h"

namespace {
// Camera X with the macro lens at 100 mm, 6 x 4 pixels of 16 bits.
CardExif Macro(double fNumber, const char* when) {
    return {.width = 6,
            .height = 4,
            .bitsPerSample = 16,
            .make = "Maker",
            .model = "Camera X",
            .hasExif = true,
            .lensMake = "Lenscorp",
            .lensModel = "Macro 100mm",
            .lensSpecification = {{100, 100, 2.8, 2.8}},
            .focalLength = 100,
            .fNumber = fNumber,
            .dateTimeOriginal = when};
}

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
        {SET(e.lensModel.reset()), "a.tif"},  // by make and specification
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
    EXPECT_EQ(
        DescribeCard(cards[3]),
        "d.tif: Camera X, Zoom 24-70mm, 50 mm, f/8, shot 2024:05:01 10:00:00 (6 x 4, 16-bit)");
    EXPECT_EQ(DescribeCard({"e.tif", CardExif{}}), "e.tif: can't be matched: it has no EXIF");
}

}  // namespace
