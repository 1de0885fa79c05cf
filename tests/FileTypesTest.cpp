#include <gtest/gtest.h>

#include "FileTypes.h"

namespace {
struct ExpectedType {
    const char* name;
    const char* extensions;
    const char* macType;
    const char* macCreator;
};

TEST(FileTypesTest, AllFileTypesHoldsTheEightInOrder) {
    const ExpectedType expected[] = {
        {"text", ".text;.txt", "TEXT", "????"},
        {"image/tiff", ".jfx;.tif;.tiff", "TIFF", "????"},
        {"image/pict", ".pict;.pic;.pct", "PICT", "ttxt"},
        {"image/gif", ".gif", "GIFf", "prvw"},
        {"image/jpeg", ".jfif;.jpe;.jpeg;.jpg", "JPEG", "prvw"},
        {"text/plain", ".text;.txt", "TEXT", "????"},
        {"image/raw", ".raw", "raw", "????"},
        {"prof", "icc", "prof", "sync"},
    };
    const auto& all = FileTypes::Instance().AllFileTypes();
    ASSERT_EQ(all.size(), std::size(expected));
    for (std::size_t n = 0; n < all.size(); ++n) {
        SCOPED_TRACE(expected[n].name);
        EXPECT_EQ(all[n]->Name, expected[n].name);
        EXPECT_EQ(all[n]->Extensions, expected[n].extensions);
        EXPECT_EQ(all[n]->MacType, expected[n].macType);
        EXPECT_EQ(all[n]->MacCreator, expected[n].macCreator);
        EXPECT_EQ(all[n]->MimeType, "");
        EXPECT_TRUE(all[n]->Imported);
        EXPECT_EQ(all[n]->ConformsTo, "");
    }
}

TEST(FileTypesTest, AccessorsGiveTheirOwnObjects) {
    const FileTypes& types = FileTypes::Instance();
    const auto& all = types.AllFileTypes();
    const FileType* accessors[] = {&types.Text(),     &types.ImageTiff(), &types.ImagePict(),
                                   &types.ImageGif(), &types.ImageJpeg(), &types.TextPlain(),
                                   &types.ImageRaw(), &types.Prof()};
    for (std::size_t n = 0; n < all.size(); ++n) EXPECT_EQ(accessors[n], all[n].get()) << n;
    EXPECT_NE(&types.Text(), &types.TextPlain());
    EXPECT_EQ(types.Text().Extensions, types.TextPlain().Extensions);
}

TEST(FileTypesTest, TypeOfNamesTheFirstMatchingType) {
    const std::pair<const char*, const char*> cases[] = {
        {"chart.tif", "image/tiff"},
        {"CHART.TIF", "image/tiff"},
        {"scan.tiff", "image/tiff"},
        {"old.jfx", "image/tiff"},
        {"notes.txt", "text"},
        {"readme.text", "text"},
        {"photo.jpeg", "image/jpeg"},
        {"shot.raw", "image/raw"},
        {"display.icc", "prof"},
        {"card.tif.bak", ""},
        {"tif", ""},
        {"chart.tifx", ""},
        {"", ""},
    };
    for (const auto& [file, type] : cases)
        EXPECT_EQ(FileTypes::Instance().TypeOf(file), type) << file;
}
}  // namespace
