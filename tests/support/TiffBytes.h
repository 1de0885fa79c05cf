#pragma once

// Hand-built TIFF files for tests: every byte is laid down here, so a test can
// make exactly the quirk it wants (odd types, duplicate tags, a mark that is
// neither II nor MM, truncated files) without trusting the code under test.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

namespace testing_tiff {

struct Entry {
    std::uint16_t tag;
    std::uint16_t type;  // 3 SHORT, 4 LONG, others as given
    std::uint32_t count;
    std::uint32_t value;  // a lone SHORT goes in the first two bytes of the field
};

class ByteWriter {
  public:
    explicit ByteWriter(bool little) : little_(little) {}
    void U8(std::uint8_t v) { bytes_.push_back(v); }
    void U16(std::uint16_t v) { Unsigned(v, 2); }
    void U32(std::uint32_t v) { Unsigned(v, 4); }
    void Raw(const std::vector<std::uint8_t>& b) {
        bytes_.insert(bytes_.end(), b.begin(), b.end());
    }
    void Field(const Entry& e) {
        U16(e.tag);
        U16(e.type);
        U32(e.count);
        if (e.type == 3 && e.count == 1) {  // a lone SHORT stands in the field
            U16(static_cast<std::uint16_t>(e.value));
            U16(0);
        } else {
            U32(e.value);
        }
    }
    std::size_t Size() const { return bytes_.size(); }
    std::vector<std::uint8_t>& Bytes() { return bytes_; }

  private:
    void Unsigned(std::uint32_t v, int width) {
        for (int k = 0; k < width; ++k) {
            const int shift = little_ ? k : width - 1 - k;
            bytes_.push_back(static_cast<std::uint8_t>(v >> (8 * shift)));
        }
    }
    bool little_;
    std::vector<std::uint8_t> bytes_;
};

// Samples of an interleaved RGB image, row-major, in the file's byte order.
inline std::vector<std::uint8_t> SampleBytes(const std::vector<std::uint16_t>& samples, int bits,
                                             bool little) {
    ByteWriter w(little);
    for (std::uint16_t s : samples) bits == 8 ? w.U8(static_cast<std::uint8_t>(s)) : w.U16(s);
    return w.Bytes();
}

// An RGB image in one strip: header, one directory, the bits-per-sample list,
// then the pixels. Fields can be overridden or left out, and entries added.
struct RgbTiff {
    std::uint32_t width = 2;
    std::uint32_t height = 2;
    int bits = 8;
    bool little = true;
    std::vector<std::uint16_t> samples;         // width x height x 3; zeros when empty
    std::optional<std::uint32_t> rowsPerStrip;  // height when unset
    bool withRowsPerStrip = true;
    std::vector<Entry> extra;           // appended after the standard entries
    std::vector<std::uint8_t> trailer;  // bytes after the pixels

    std::uint32_t DirectoryEntries() const {
        return 10 + static_cast<std::uint32_t>(extra.size()) - (withRowsPerStrip ? 0 : 1);
    }
    std::uint32_t BitsOffset() const { return 8 + 2 + 12 * DirectoryEntries() + 4; }
    std::uint32_t PixelOffset() const { return BitsOffset() + 6; }
    std::uint32_t PixelBytes() const { return width * height * 3 * (bits / 8); }

    std::vector<std::uint8_t> Build() const {
        ByteWriter w(little);
        w.Raw(little ? std::vector<std::uint8_t>{'I', 'I'} : std::vector<std::uint8_t>{'M', 'M'});
        w.U16(42);
        w.U32(8);
        w.U16(static_cast<std::uint16_t>(DirectoryEntries()));
        std::vector<Entry> entries = {{256, 4, 1, width},
                                      {257, 4, 1, height},
                                      {258, 3, 3, BitsOffset()},
                                      {259, 3, 1, 1},
                                      {262, 3, 1, 2},
                                      {273, 4, 1, PixelOffset()},
                                      {277, 3, 1, 3},
                                      {279, 4, 1, PixelBytes()},
                                      {284, 3, 1, 1}};
        if (withRowsPerStrip) entries.push_back({278, 4, 1, rowsPerStrip.value_or(height)});
        entries.insert(entries.end(), extra.begin(), extra.end());
        for (const Entry& e : entries) w.Field(e);
        w.U32(0);
        for (int k = 0; k < 3; ++k) w.U16(static_cast<std::uint16_t>(bits));
        std::vector<std::uint16_t> all = samples;
        all.resize(width * height * 3, 0);
        w.Raw(SampleBytes(all, bits, little));
        w.Raw(trailer);
        return w.Bytes();
    }
};

inline void WriteBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::uint8_t> ReadBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// A fresh, empty folder for one test, removed with the object.
class TempFolder {
  public:
    TempFolder() {
        static int serial = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("brisavane-test-" + std::to_string(::getpid()) + "-" + std::to_string(++serial));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() { std::filesystem::remove_all(path_); }
    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

}  // namespace testing_tiff
