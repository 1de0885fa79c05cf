#pragma once

#include <memory>
#include <string>

#include "TiffFile.h"

// The command line's white card: one plain strip is opened, judged and
// scanned by our own reader as the window does; any other RGB TIFF that
// libtiff reads is scanned through libtiff, into a record of the same
// figures, and throughLibtiff says so. nil with the words in error when the
// file can't serve. A run of the correction modes, which scans the card
// itself, has a plain strip judged without the scan (scan false).
std::shared_ptr<TiffFile> LoadAnyWhiteCard(const std::string& path, std::string& error,
                                           bool& throughLibtiff, bool scan = true);
