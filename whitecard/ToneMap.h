#pragma once

#include <cstdint>
#include <memory>

#include "Picture.h"

class CardSource;

// The white card's canvas in the window: its preview fits this square.
inline constexpr std::int64_t kWhiteCanvas = 230;

// The white card's preview as the window's canvas shows it.
std::shared_ptr<Picture> WindowPreview(const CardSource& white);

// The false-colour map of a white card preview: every pixel whose green byte is
// 200 or more takes the colour of its five-level band, from blue at 200 to red
// at 250 and above; darker pixels are copied. Only green is looked at, the
// sample the scan and the correction work on. Every pixel of ptone inside its
// own size is written; pixels of pwhite beyond ptone's size are not read.
void CreateToneMap(const Picture& pwhite, Picture& ptone);
// The tone map of a preview, at the preview's size.
Picture ToneMapOf(const Picture& preview);
