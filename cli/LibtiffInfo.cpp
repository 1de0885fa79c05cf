#include "LibtiffInfo.h"

#include <filesystem>
#include <fstream>
#include <vector>

#include "LibtiffFile.h"

namespace {
std::uint64_t Unsigned(const unsigned char* at, int width, bool bigEndian) {
    std::uint64_t value = 0;
    for (int i = 0; i < width; ++i)
        value |= std::uint64_t{at[bigEndian ? width - 1 - i : i]} << (8 * i);
    return value;
}

// The tag numbers of the first directory, in file order, read from its
// entries; the entries read stop at the end of the file.
std::string TagsPresent(const std::string& path, const LibtiffFile& image) {
    std::ifstream in(path, std::ios::binary);
    const int countWidth = image.bigTiff ? 8 : 2, entryWidth = image.bigTiff ? 20 : 12;
    unsigned char count[8] = {};
    in.seekg(static_cast<std::streamoff>(TIFFCurrentDirOffset(image.Handle())));
    in.read(reinterpret_cast<char*>(count), countWidth);
    std::string tags;
    unsigned char entry[20];
    for (std::uint64_t n = Unsigned(count, countWidth, image.bigEndian); n > 0 && in; --n) {
        if (!in.read(reinterpret_cast<char*>(entry), entryWidth)) break;
        if (!tags.empty()) tags.push_back(' ');
        tags.append(std::to_string(Unsigned(entry, 2, image.bigEndian)));
    }
    return tags;
}

std::string Layout(const LibtiffFile& image) {
    if (image.tiled)
        return "tiles of " + std::to_string(image.tileWidth) + " x " +
               std::to_string(image.tileLength);
    return "strips of " + std::to_string(image.rowsPerStrip) + " rows, " +
           std::to_string(image.Chunks()) + " in all";
}
}  // namespace

bool PrintLibtiffBlock(const std::string& path, std::ostream& out) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return false;
    const LibtiffFile image(path, "rc");
    if (!image.Handle()) return false;
    const std::string unusable = image.Unusable();
    out << "libtiff:\n"
        << "  Layout: " << Layout(image) << "\n"
        << "  Planar: " << (image.planar == PLANARCONFIG_SEPARATE ? "separate" : "contiguous")
        << "\n  Compression: " << image.compression << "\n  Predictor: " << image.predictor
        << "\n  Samples: " << image.samples << " of " << image.bits << " bits, " << image.extras
        << " extra\n  BigTIFF: " << (image.bigTiff ? "yes" : "no")
        << "\n  ByteOrder: " << (image.bigEndian ? "big-endian" : "little-endian")
        << "\n  Tags: " << TagsPresent(path, image) << "\n  Equalized: "
        << (!unusable.empty()       ? "refused: this is " + unusable
            : image.OneStripPlain() ? "as one plain strip, streamed where its rows stand"
                                    : "through libtiff")
        << "\n";
    return true;
}
