#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "TiffFile.h"

// A file as the program's own reader opens it; failed is what OpenTIFF said.
struct OpenedTiff {
    std::shared_ptr<TiffFile> tiff;
    bool failed;
};

inline OpenedTiff OpenTiff(const std::filesystem::path& path, TiffServices services = {}) {
    auto tiff = std::make_shared<TiffFile>(services);
    tiff->fi = std::make_shared<FolderItem>(path);
    const bool failed = tiff->OpenTIFF();
    return {tiff, failed};
}

// A file the reader must take.
inline std::shared_ptr<TiffFile> Opened(const std::filesystem::path& path,
                                        TiffServices services = {}) {
    const OpenedTiff o = OpenTiff(path, services);
    EXPECT_FALSE(o.failed) << o.tiff->errstr;
    return o.tiff;
}
