#include <gtest/gtest.h>

#include "FileTypes.h"

namespace {
// The first type a name matches decides, whatever the case of its extension.
TEST(FileTypesTest, TypeOfNamesTheFirstMatchingType) {
    const std::pair<const char*, const char*> cases[] = {
        {"chart.tif", "image/tiff"},
        {"CHART.TIF", "image/tiff"},
        {"old.jfx", "image/tiff"},
        {"notes.txt", "text"},
        {"photo.jpeg", "image/jpeg"},
        {"display.icc", "prof"},
        {"card.tif.bak", ""},
        {"tif", ""},
        {"chart.tifx", ""},
        {"", ""},
    };
    for (const auto& [file, type] : cases)
        EXPECT_EQ(FileTypes::Instance().TypeOf(file), type) << file;
    EXPECT_EQ(FileTypes::Instance().Find("image/tiff")->Extensions, ".jfx;.tif;.tiff");
    EXPECT_EQ(FileTypes::Instance().Find("image/png"), nullptr);
}

TEST(FileTypesTest, AccessorsGiveTheEntriesOfTheSetInOrder) {
    const FileTypes& types = FileTypes::Instance();
    const FileType* accessors[] = {&types.Text(),     &types.ImageTiff(), &types.ImagePict(),
                                   &types.ImageGif(), &types.ImageJpeg(), &types.TextPlain(),
                                   &types.ImageRaw(), &types.Prof()};
    ASSERT_EQ(types.AllFileTypes().size(), std::size(accessors));
    for (std::size_t n = 0; n < std::size(accessors); ++n)
        EXPECT_EQ(accessors[n], types.AllFileTypes()[n].get()) << n;
}
}  // namespace
