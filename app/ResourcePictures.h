#pragma once

#include <memory>
#include <string>

#include "Picture.h"

// The pictures built into the program: the subject list's row marks and the
// tone map's key strip. Each is read on first use and kept; a picture that
// couldn't be read is tried again on the next call.
class ResourcePictures {
  public:
    static std::shared_ptr<Picture> Check();
    static std::shared_ptr<Picture> Cross();
    static std::shared_ptr<Picture> tone_scale();

    // Reads one built-in picture at its own size; nil when none has that name
    // or it is not a TIFF the program can read.
    static std::shared_ptr<Picture> OpenFromApp(const std::string& fileName);

  private:
    static std::shared_ptr<Picture> Cached(std::shared_ptr<Picture>& slot, const char* fileName);
};
