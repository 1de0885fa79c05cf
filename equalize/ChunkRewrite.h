#pragma once

#include <string>

#include "CardGreen.h"
#include "LibtiffFile.h"

// Equalizes a copy opened for update ("r+c"): each strip or tile is decoded,
// its colour samples corrected by the same formula as the one-strip engine,
// and written back with its own compression and predictor, where it stood or,
// grown, at the end of the file. Extra samples and planes stay as they were,
// and so does every tag but the strip or tile offsets and byte counts. One
// strip or tile is held at a time. Empty on success, else why it stopped.
// A correction other than the window's corrects each decoded chunk instead;
// false when it can't.
class ChunkCorrector {
  public:
    virtual ~ChunkCorrector() = default;
    virtual bool Correct(const LibtiffFile& copy, const LibtiffFile::Place& place,
                         std::uint8_t* data) = 0;
};

std::string RewriteChunks(LibtiffFile& copy, CardGreen& card, double targetLevel,
                          ChunkCorrector* corrector = nullptr);

// Photoshop's layer data would reopen the uncorrected image in Photoshop: it
// is dropped from the copy. True when the copy held some.
bool DropLayerData(LibtiffFile& copy);
