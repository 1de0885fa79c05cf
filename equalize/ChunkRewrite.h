#pragma once

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

#include "CardGreen.h"
#include "LibtiffFile.h"

// Where the subject's strips or tiles that RewriteChunks writes anew lie in
// the file, [start, end): a copy made for it needs every byte but these.
std::vector<std::pair<off_t, off_t>> RewrittenRanges(const LibtiffFile& subject);

// A correction other than the window's, for one decoded strip or tile; false
// when it can't be made.
class ChunkCorrector {
  public:
    virtual ~ChunkCorrector() = default;
    virtual bool Correct(const LibtiffFile& copy, const LibtiffFile::Place& place,
                         std::uint8_t* data) = 0;
};

// Equalizes a copy of the subject opened for update ("r+"): each strip or
// tile is decoded from the subject (opened with the same strip chopping), its
// colour samples corrected by the same formula as the one-strip engine, and
// written into the copy with its own compression and predictor, where it
// stood or, grown, at the end of the file. Extra samples and planes stay as
// they were, and so does every tag but the strip or tile offsets and byte
// counts. One strip or tile is held at a time. Empty on success, else why it
// stopped. A corrector, when given, corrects each decoded chunk instead of
// the window's formula.
std::string RewriteChunks(LibtiffFile& subject, LibtiffFile& copy, CardGreen& card,
                          double targetLevel, ChunkCorrector* corrector = nullptr);

// Photoshop's layer data would reopen the uncorrected image in Photoshop: it
// is dropped from the copy. True when the copy held some.
bool DropLayerData(LibtiffFile& copy);
