#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "BinaryStream.h"
#include "Picture.h"
#include "PixelLayout.h"
#include "PreviewGeometry.h"
#include "RowPassHost.h"
#include "TiffFile.h"

class LeftOutCopy;
class SubjectCorrection;

// The files of one rewrite of a plain strip and the subject's correction.
struct RowPassFiles {
    TiffFile& subject;               // its imagefile open, in the file's byte order
    BinaryStream& output;            // a copy of the subject, open for update
    std::string outputName;          // for the status line
    SubjectCorrection& correction;   // by the run's card
    LeftOutCopy* leftOut = nullptr;  // an output copied without its rows, told each row written
};

enum class RowPassEnd {
    Written,      // every row written, the output closed
    WriteFailed,  // every row handed over, but some write didn't reach the file
    Cancelled,    // the user stopped it; the rows before the current one stand
};

// Rewrites the pixel rows of the output in place, row by row in lockstep with
// the subject and the white card, and draws the result preview on the way into
// presult. Memory is two row buffers, the card's band and the preview,
// whatever the image. Throws when the card's rows can't be read.
// Shows a pass over rows starting: the progress bar at 0 of its height, the
// status line naming the output, and the result preview made anew for the
// canvas's room; gives the preview's geometry.
PreviewGeometry StartPass(RowPassHost& host, std::int64_t width, std::int64_t height,
                          const std::string& outputName, std::shared_ptr<Picture>& result);

RowPassEnd RunRowPass(const RowPassFiles& files, RowPassHost& host,
                      std::shared_ptr<Picture>& presult);
