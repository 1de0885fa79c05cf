#include "ResourcePictures.h"

#include <exception>

#include "EmbeddedResources.h"
#include "TiffFile.h"

// The pictures are read through the same TiffFile as any image, from the
// bytes the program holds.
std::shared_ptr<Picture> ResourcePictures::OpenFromApp(const std::string& fileName) {
    TiffFile file;
    try {
        if (file.OpenTIFFFrom(BinaryStream::OpenMemory(EmbeddedResource(fileName))) ||
            !file.PixelDataWithinFile())
            return nullptr;
        return file.MakeScaledPictureDisk(file.ImageWidth, file.ImageHeight);
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
    static std::shared_ptr<Picture> kept;
    return Cached(kept, "Check.tif");
}

std::shared_ptr<Picture> ResourcePictures::Cross() {
    static std::shared_ptr<Picture> kept;
    return Cached(kept, "Cross.tif");
}

std::shared_ptr<Picture> ResourcePictures::tone_scale() {
    static std::shared_ptr<Picture> kept;
    return Cached(kept, "tone_scale.tif");
}
