#include <gtest/gtest.h>

#include "BinaryStream.h"
#include "Exceptions.h"
#include "FolderItem.h"
#include "MemoryBlock.h"
#include "Picture.h"
#include "support/TempFolder.h"
#include "support/TiffBuilder.h"

using namespace testing_tiff;

namespace {

// The same reads from a file and from bytes in memory.
class BinaryStreamSource : public ::testing::TestWithParam<bool> {};

TEST_P(BinaryStreamSource, ReadsInEitherByteOrderAndComesBackShortAtTheEnd) {
    static const std::uint8_t bytes[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
    TempFolder folder;
    WriteFile(folder / "f", std::string(bytes, bytes + sizeof bytes));
    auto stream =
        GetParam() ? BinaryStream::OpenMemory(bytes) : BinaryStream::Open(FolderItem(folder / "f"));
    ASSERT_TRUE(stream);
    EXPECT_EQ(stream->Length(), 5);
    stream->LittleEndian = false;
    EXPECT_EQ(stream->ReadUInt32(), 0x12345678u);
    stream->SetPosition(0);
    stream->LittleEndian = true;
    EXPECT_EQ(stream->ReadUInt16(), 0x3412);
    stream->SetPosition(4);
    EXPECT_EQ(stream->ReadUInt16(), 0x009A) << "missing bytes read as 0";
    EXPECT_EQ(stream->ReadUInt32(), 0u);

    std::uint8_t buffer[4] = {0xEE, 0xEE, 0xEE, 0xEE};
    stream->SetPosition(3);
    EXPECT_EQ(stream->Read(buffer, 4), 2u);
    EXPECT_EQ(std::vector(buffer, buffer + 4), (std::vector<std::uint8_t>{0x78, 0x9A, 0xEE, 0xEE}))
        << "nothing is filled past what was read";
    stream->SetPosition(9);
    EXPECT_EQ(stream->Read(buffer, 4), 0u) << "nothing past the end";
    stream->SetPosition(1);
    EXPECT_EQ(stream->ReadAt(3, buffer, 4), 2u);
    EXPECT_EQ(buffer[1], 0x9A);
    EXPECT_EQ(stream->Position(), 1) << "a read at a place leaves the stream where it was";
    stream->Close();
    EXPECT_THROW(stream->ReadUInt8(), IOException);
}
INSTANTIATE_TEST_SUITE_P(FileAndMemory, BinaryStreamSource, ::testing::Bool());

// Missing files and folders give no stream, an existing file is created only
// when replacing it was asked for, and a real device that refuses every write
// shows the error in the code even though the bytes were only buffered.
TEST(BinaryStream, OpenCreateAndFailedWrites) {
    TempFolder folder;
    EXPECT_FALSE(BinaryStream::Open(FolderItem(folder / "absent")));
    EXPECT_FALSE(BinaryStream::Open(FolderItem(folder.Path())));
    WriteFile(folder / "f", "\x01");
    EXPECT_FALSE(BinaryStream::Create(FolderItem(folder / "f"), false));
    EXPECT_TRUE(BinaryStream::Create(FolderItem(folder / "f"), true));
    auto stream = BinaryStream::Open(FolderItem("/dev/full"), true);
    ASSERT_TRUE(stream);
    stream->Write(std::string(100, 'x'));
    EXPECT_NE(stream->LastErrorCode(), 0);
}

TEST(MemoryBlock, TypedAccessInItsByteOrderAndBoundsChecked) {
    MemoryBlock block(4);
    block.LittleEndian = false;
    block.SetUInt16Value(0, 0x9C40);
    EXPECT_EQ(block.UInt8Value(0), 0x9C);
    block.LittleEndian = true;
    EXPECT_EQ(block.UInt16Value(0), 0x409C);
    block.SetUInt8Value(3, 0xFF);
    EXPECT_EQ(block.Int8Value(3), -1);
    EXPECT_THROW(block.UInt16Value(3), OutOfBoundsException);
    EXPECT_THROW(block.UInt32Value(1), OutOfBoundsException);
    EXPECT_THROW(block.SetUInt8Value(4, 0), OutOfBoundsException);
    EXPECT_THROW(block.UInt8Value(static_cast<std::size_t>(-1)), OutOfBoundsException);
}

// A child never leads out of its folder; a copy replaces a longer file; paths
// are absolute. Listing, copying and writing show through the batch; these
// are the edges.
TEST(FolderItem, ChildCopyAndPaths) {
    const FolderItem out("/data/out");
    EXPECT_EQ(out.Child("a_eq.tif")->NativePath(), "/data/out/a_eq.tif");
    for (const char* name : {"", ".", "..", "../x.tif", "sub/x.tif", "a\\b"})
        EXPECT_FALSE(out.Child(name)) << name;
    TempFolder folder;
    WriteFile(folder / "b.tif", "\x01\x02\x03");
    WriteFile(folder / "a.tif", "\x04");
    ASSERT_TRUE(FolderItem(folder / "b.tif").CopyFileTo(FolderItem(folder / "c.tif")));
    ASSERT_TRUE(FolderItem(folder / "a.tif").CopyFileTo(FolderItem(folder / "c.tif")));
    EXPECT_EQ(ReadFile(folder / "c.tif"), "\x04");
    EXPECT_FALSE(FolderItem(folder / "absent").IsWriteable());
    EXPECT_FALSE(GetFolderItem("relative/path"));
    EXPECT_EQ(GetFolderItem("/a/b/../c")->NativePath(), "/a/c");
}

TEST(Picture, WritesOutsideChangeNothing) {
    Picture picture(3, 2);
    EXPECT_EQ(picture.Pixel(0, 0), RGB(0, 0, 0));
    picture.SetPixel(2, 1, RGB(1, 2, 3));
    picture.SetPixel(3, 1, RGB(9, 9, 9));
    picture.SetPixel(-1, 0, RGB(9, 9, 9));
    EXPECT_EQ(picture.Pixel(2, 1), 0x00010203u);
    EXPECT_EQ(picture.Pixel(3, 1), 0u);
    picture.ClearRect(0, 0, 3, 2);
    EXPECT_EQ(picture.Pixel(2, 1), Picture::kTransparent);
}

}  // namespace
