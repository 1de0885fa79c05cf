#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "BinaryStream.h"
#include "Picture.h"
#include "PixelLayout.h"
#include "RowPassHost.h"
#include "TiffFile.h"

class RowsLeftOutCopy;

// A correction of one row other than the window's, from the subject row into
// the output row (both in the file's byte order, rowBytes long); rows come in
// order. It throws when it can't go on, and the output is then not finished.
class RowCorrector {
  public:
    virtual ~RowCorrector() = default;
    virtual void Correct(std::uint32_t y, const PixelLayout& subject,
                         const std::uint8_t* subjectRow, std::uint8_t* out) = 0;
};

// The three files of one rewrite. The white card comes as a stream and an
// offset rather than as its TiffFile, so that several rewrites running at once
// can each read the one analysed white card through a stream of their own.
struct RowPassFiles {
    TiffFile& subject;                   // its imagefile open, in the file's byte order
    BinaryStream& white;                 // the white card's rows, in its byte order
    std::int64_t whiteOffset;            // the white card's ImageOffset
    BinaryStream& output;                // a copy of the subject, open for update
    std::string outputName;              // for the status line
    RowCorrector* corrector = nullptr;   // nil: the window's correction with the white card
    RowsLeftOutCopy* leftOut = nullptr;  // an output copied without its rows, told each row written
};

enum class RowPassEnd {
    Written,      // every row written, the output closed
    WriteFailed,  // every row handed over, but some write didn't reach the file
    Cancelled,    // the user stopped it; the rows before the current one stand
};

// Rewrites the pixel rows of the output in place, row by row in lockstep with
// the subject and the white card, and draws the result preview on the way into
// presult. Memory is three row buffers and the preview, whatever the image.
RowPassEnd RunRowPass(const RowPassFiles& files, double targetLevel, RowPassHost& host,
                      std::shared_ptr<Picture>& presult);
