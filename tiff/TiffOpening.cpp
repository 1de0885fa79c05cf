#include "TiffOpening.h"

#include <filesystem>
#include <system_error>

#include "Exceptions.h"

namespace fs = std::filesystem;

TiffOpening OpenTiffFile(TiffFile& tiff, std::shared_ptr<FolderItem> file) {
    tiff.fi = std::move(file);
    std::error_code ec;
    const fs::file_type type =
        tiff.fi ? fs::status(tiff.fi->Path(), ec).type() : fs::file_type::none;
    if (type == fs::file_type::not_found || type == fs::file_type::none)
        return TiffOpening::Missing;
    if (type != fs::file_type::regular) {
        tiff.errstr.clear();
        return TiffOpening::Unopenable;
    }
    try {
        if (tiff.OpenTIFF()) return TiffOpening::Refused;
    } catch (const NilObjectException&) {
        return TiffOpening::Unopenable;  // the system gives no stream (no permission)
    }
    return tiff.PixelDataWithinFile() ? TiffOpening::Ready : TiffOpening::Incomplete;
}

TiffOpening OpenTiffPath(TiffFile& tiff, const std::string& path) {
    std::error_code ec;
    return OpenTiffFile(tiff, GetFolderItem(fs::absolute(path, ec).string()));
}
