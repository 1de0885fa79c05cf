#include "ResourcePictures.h"

#include <exception>

#include "TiffOpening.h"

namespace {
std::filesystem::path& FolderSlot() {
    static std::filesystem::path folder;
    return folder;
}

struct Pictures {
    std::shared_ptr<Picture> check, cross, toneScale;
};

Pictures& Kept() {
    static Pictures pictures;
    return pictures;
}
}  // namespace

// Pictures read from a former folder are dropped with it.
void ResourcePictures::SetFolder(const std::filesystem::path& folder) {
    FolderSlot() = folder;
    Kept() = {};
}

const std::filesystem::path& ResourcePictures::Folder() {
    return FolderSlot();
}

std::shared_ptr<Picture> ResourcePictures::OpenFromApp(const std::string& fileName) {
    TiffFile file;
    try {
        if (OpenTiffFile(file, std::make_shared<FolderItem>(Folder() / fileName)) !=
            TiffOpening::Ready)
            return nullptr;
        auto picture = file.MakeScaledPictureDisk(file.ImageWidth, file.ImageHeight);
        file.imagefile->Close();
        return picture;
    } catch (const std::exception&) {
        return nullptr;  // a damaged resource shows as a missing picture
    }
}

std::shared_ptr<Picture> ResourcePictures::Cached(std::shared_ptr<Picture>& slot,
                                                  const char* fileName) {
    if (!slot) slot = OpenFromApp(fileName);
    return slot;
}

std::shared_ptr<Picture> ResourcePictures::Check() {
    return Cached(Kept().check, "Check.tif");
}

std::shared_ptr<Picture> ResourcePictures::Cross() {
    return Cached(Kept().cross, "Cross.tif");
}

std::shared_ptr<Picture> ResourcePictures::tone_scale() {
    return Cached(Kept().toneScale, "tone_scale.tif");
}
