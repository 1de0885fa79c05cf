#pragma once

#include <memory>
#include <string>

#include "TiffFile.h"

// A TiffFile on path after a successful OpenTIFF, its stream open.
inline std::shared_ptr<TiffFile> OpenedTiff(const std::string& path) {
    auto tiff = std::make_shared<TiffFile>();
    tiff->fi = std::make_shared<FolderItem>(path);
    if (tiff->OpenTIFF()) return nullptr;
    return tiff;
}
