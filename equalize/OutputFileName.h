#pragma once

#include <string>

// The name of a subject's equalized copy: the name up to its first ".tif" (of
// any case), in its own case, then "_eq.tif". IMG.TIF gives IMG_eq.tif,
// scan.png gives scan.png_eq.tif.
std::string CreateOutputFileName(const std::string& name);
