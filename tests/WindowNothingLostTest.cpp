#include <QLabel>
#include <QTableWidget>
#include <QTest>

#include "WindowFixture.h"
#include "support/FileHashes.h"

namespace {
class WindowNothingLost : public WindowFixture {};

// The whole road through the real window, with the subjects' own folder as
// the output folder: a good subject is written beside its original, a cut
// one is refused with its text, and every subject keeps every byte.
TEST_F(WindowNothingLost, ProcessIntoTheSubjectFolderLosesNothing) {
    testing_tiff::TiffSpec card;
    card.bits = 16;
    card.pixel = [](std::uint32_t x, std::uint32_t y) {
        return testing_tiff::Rgb{0, static_cast<std::uint16_t>(60000 - 900 * (x + y)), 0};
    };
    testing_tiff::WriteTiff(folder / "card.tif", card);
    std::filesystem::create_directories(folder / "subjects");
    testing_tiff::TiffSpec good = card;
    good.pixel = [](std::uint32_t x, std::uint32_t) {
        return testing_tiff::Rgb{900, 800, static_cast<std::uint16_t>(700 + x)};
    };
    testing_tiff::WriteTiff(folder / "subjects/a.tif", good);
    testing_tiff::TiffSpec cut = good;
    cut.dropTailBytes = 2;
    testing_tiff::WriteTiff(folder / "subjects/b.tif", cut);
    const auto before = HashFolder(folder / "subjects");

    dialogs.openAnswers.push_back(folder / "card.tif");
    QTest::mouseClick(Get("BtnWhite"), Qt::LeftButton);
    dialogs.folderAnswers.push_back(folder / "subjects");
    QTest::mouseClick(Get("BtnSubject"), Qt::LeftButton);
    QTest::mouseClick(Get("ChkSelectAll"), Qt::LeftButton);
    dialogs.folderAnswers.push_back(folder / "subjects");
    QTest::mouseClick(Get("BtnProcess"), Qt::LeftButton);

    EXPECT_TRUE(dialogs.messages.empty());
    EXPECT_TRUE(State().EqualizationCompleted);
    const auto after = HashFolder(folder / "subjects");
    for (const auto& [name, hash] : before) EXPECT_EQ(after.at(name), hash) << name;
    EXPECT_EQ(after.size(), before.size() + 1);
    EXPECT_TRUE(after.count("a_eq.tif"));
    Get<QTableWidget>("LstSubject")->setCurrentCell(1, 1);
    EXPECT_EQ(Get<QLabel>("TxtResult")->text(),
              "Image data is incomplete: the file ends before its last pixel row.");
}
}  // namespace
