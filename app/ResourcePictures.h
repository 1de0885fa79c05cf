#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Picture.h"

// The pictures delivered beside the program: the subject list's row marks and
// the tone map's key strip. Each is read on first use and kept until the
// folder changes; a picture that couldn't be read is tried again on the next call.
class ResourcePictures {
  public:
    // Where the pictures lie; the program sets it from its own location.
    static void SetFolder(const std::filesystem::path& folder);
    static const std::filesystem::path& Folder();

    static std::shared_ptr<Picture> Check();
    static std::shared_ptr<Picture> Cross();
    static std::shared_ptr<Picture> tone_scale();

    // Reads one picture of the folder at its own size; nil when it is missing
    // or not a TIFF the program can read.
    static std::shared_ptr<Picture> OpenFromApp(const std::string& fileName);

  private:
    static std::shared_ptr<Picture> Cached(std::shared_ptr<Picture>& slot, const char* fileName);
};
