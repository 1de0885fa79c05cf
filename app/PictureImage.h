#pragma once

#include <QImage>

#include "Picture.h"

// Our picture as a Qt image of the same size. Our alpha counts transparency
// (0 opaque, 255 fully transparent); Qt's counts opacity, so it is inverted.
QImage ToQImage(const Picture& picture);
