#pragma once

#include <memory>
#include <string>

#include "FolderItem.h"
#include "TiffFile.h"

// What opening a TIFF file came to. Each caller turns these into its own words
// and decides when to speak of them: a subject's strip and size tests, for one,
// come before its incomplete pixel data.
enum class TiffOpening {
    Ready,       // parsed, and every pixel row lies inside the file
    Incomplete,  // parsed, but the file ends before its last pixel row
    Refused,     // the reader turned it down, in the words in errstr
    Unopenable,  // something is there, but no regular file that gives a stream
    Missing,     // nothing is there, or no file was named
};

// Puts file in tiff.fi and reads its header, after making sure that it is a
// regular file: a folder, a named pipe, a socket or a device named like a TIFF
// is turned away at once (the stream on a pipe or a terminal would wait for a
// writer, for ever), with errstr emptied as the reader would have left it.
TiffOpening OpenTiffFile(TiffFile& tiff, std::shared_ptr<FolderItem> file);
// The same for a path, relative ones taken from the working folder.
TiffOpening OpenTiffPath(TiffFile& tiff, const std::string& path);

inline bool Parsed(TiffOpening opening) {
    return opening == TiffOpening::Ready || opening == TiffOpening::Incomplete;
}
