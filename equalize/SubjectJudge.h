#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "CardSource.h"
#include "FolderItem.h"
#include "LibtiffFile.h"
#include "TiffFile.h"
#include "ToneCurves.h"

// What becomes of a subject against the run's card, decided from its own
// tags alone, whichever reader takes it.
struct SubjectJudgement {
    enum class Verdict {
        Missing,     // nothing at the subject's path
        Unopenable,  // something is there, but no regular file that gives a stream
        Refused,     // neither reader takes it; our reader's words in text
        Unusable,    // read, but not a file the engine can equalize; "this is ..." in text
        Unfit,       // it doesn't go with the card; the words in text
        OneStrip,    // one plain strip, streamed by our own reader, as the window always did
        Libtiff,     // every other file libtiff reads, through libtiff
    };
    SubjectJudgement(Verdict verdict = Verdict::Missing, std::string text = {})
        : verdict(verdict), text(std::move(text)) {}

    Verdict verdict;
    std::string text;
    std::unique_ptr<LibtiffFile> image;        // libtiff's view, when it takes the file
    std::shared_ptr<const ToneCurves> curves;  // the subject's own, with --linear
};

// Opens the subject into tiff (our reader) and through libtiff, and judges
// it. The words come in this order: the strip text, only for a file libtiff
// can't open; the engine's reason (a JPEG, float samples, ...); the size
// text; the depth text; what linear light lacks; pixel rows past the file's end.
// Without a card (none serves the subject) only what the subject is, is
// judged, up to the engine's reason.
SubjectJudgement JudgeSubject(TiffFile& tiff, std::shared_ptr<FolderItem> file,
                              const CardSource* card);

// The words for a subject whose size, or whose depth, isn't the card's.
std::string SizeMismatchText(const TiffFile& white, std::int64_t width, std::int64_t height);
std::string DepthMismatchText(const TiffFile& white, std::int64_t bits);
