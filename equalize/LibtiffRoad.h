#pragma once

#include <memory>
#include <string>
#include <vector>

#include "LeftOutCopy.h"
#include "LibtiffFile.h"
#include "Picture.h"
#include "RowPass.h"
#include "RowPassHost.h"

class SubjectCorrection;

// Where the subject's strips or tiles that the road writes anew lie in the
// file: a copy made for it needs every byte but these. Extra samples' planes
// are kept as they are.
std::vector<ByteRange> RewrittenRanges(const LibtiffFile& subject);

// The files of one rewrite through libtiff.
struct LibtiffRoadFiles {
    LibtiffFile& subject;            // opened to read, without strip chopping
    int output;                      // a copy of the subject made around RewrittenRanges
    std::string outputName;          // for the status line
    SubjectCorrection& correction;   // by the run's card
    LeftOutCopy* leftOut = nullptr;  // under the final name: told what was written
};

// The previews a pass draws from the pixels it decodes and corrects.
struct PassPictures {
    std::shared_ptr<Picture>& result;
    std::shared_ptr<Picture>* subject = nullptr;  // nil: none wanted
    CanvasSize subjectRoom{0, 0};
};

struct LibtiffRoadEnd {
    RowPassEnd end = RowPassEnd::Written;
    std::string problem;         // why it didn't finish, for WriteFailed
    bool droppedLayers = false;  // Photoshop's layer data was taken out
};

// Equalizes a subject of any layout libtiff reads into its copy, keeping
// its compression, predictor and every tag but the strip or tile offsets and
// byte counts: uncompressed strips read and written in place a row at a
// time; compressed strips and tiles decoded, corrected and encoded again a
// strip or tile at a time, where they stood or, grown, at the end of the
// file; a strip too large to hold decoded and encoded again a row at a time.
// Extra samples and planes stay as they were. Progress, the event pump, a
// cancel and the previews go row by row, from the decoded pixels.
LibtiffRoadEnd RunLibtiffRoad(const LibtiffRoadFiles& files, RowPassHost& host,
                              PassPictures& pictures);
