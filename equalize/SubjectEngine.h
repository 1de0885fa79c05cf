#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CardSource.h"
#include "FolderItem.h"
#include "OutputPlan.h"
#include "Picture.h"
#include "RowPassHost.h"
#include "SubjectCorrection.h"
#include "TiffFile.h"
#include "XmpHistory.h"

// The words for an output that didn't come out whole.
inline constexpr const char* kWriteProblemText = "Problem writing equalized TIFF file.";

// What the window adds to equalizing a subject: its state and its dialogs.
class SubjectWindow {
  public:
    virtual ~SubjectWindow() = default;
    // The subject has opened and is now the one in work.
    virtual void SubjectOpened() = 0;
    // The subject, one plain strip, passed its tests; the window shows a
    // preview of it, read from the file.
    virtual void SubjectAccepted(TiffFile& subject) = 0;
    // The file to write instead of an output that is already there.
    virtual std::shared_ptr<FolderItem> InsteadOfExisting(const std::string& outputName) = 0;
    // Where the pass draws the result preview, and through libtiff, the
    // subject's from the pixels it decodes.
    virtual std::shared_ptr<Picture>& ResultPicture() = 0;
    virtual std::shared_ptr<Picture>& SubjectPicture() = 0;
    virtual CanvasSize SubjectRoom() = 0;
};

// What every subject of one run shares.
struct SubjectSettings {
    const CardRun* card;  // read once for the run; nil: none serves the subject, why in noCard
    const FolderItem& outputFolder;
    OutputPlacement placement;
    bool overwrite;          // beside: an output already there is replaced
    std::size_t jobNumber;   // beside: keeps the hidden names of parallel jobs apart
    SubjectWindow* window;   // nil on the command line; needed for the final name
    bool spareCore = false;  // a core no job runs on, for a subject's row to share
    std::string noCard = {};
    const HistoryEntry* history = nullptr;  // added to each output's XMP, when given
};

// Where one subject's road ended.
enum class SubjectEnd {
    Missing,       // nothing at the subject's path
    Unopenable,    // no regular file that gives a stream
    Refused,       // not a TIFF either reader takes; our reader's words in text
    Unusable,      // not a TIFF the engine can equalize; "this is ..." in text
    NoCard,        // a TIFF the engine reads, but no card serves it; why in text
    Unfit,         // it doesn't go with the card (strip, size, depth, curves); its text in text
    NoOutputName,  // the name rule gives no file inside the output folder
    OutputKept,    // beside: the output is there and isn't to be replaced
    IsSubject,     // the output would be the subject itself, which is never written
    CopyFailed,    // the copy around the pixels didn't come out whole
    NotWriteable,  // under the final name: the copy can't be written
    NoStream,      // the copy gives no stream for update
    Written,       // every row written and the output under its name
    WriteFailed,   // some row didn't reach the file; why in text, if known
    Cancelled,     // the user stopped the pass
    Appeared,      // beside: an output appeared at the name meanwhile
};

struct SubjectReport {
    explicit SubjectReport(SubjectEnd end, std::string text = {},
                           std::shared_ptr<FolderItem> output = {})
        : end(end), text(std::move(text)), output(std::move(output)) {}

    SubjectEnd end;
    std::string text;
    std::shared_ptr<FolderItem> output;  // from the output's naming on
    std::vector<std::string> notes;      // remarks on a written output
    CorrectionFigures figures;           // of a written output
};

// Equalizes one subject, whatever its layout: opens it into tiff and through
// libtiff, judges it against the card, names its output, picks the road (our
// one-strip stream for one plain strip, libtiff for everything else it
// reads) and writes the output, placed as the settings say. Exceptions pass
// to the caller; an output beside its name is discarded first.
SubjectReport EqualizeSubjectFile(TiffFile& tiff, std::shared_ptr<FolderItem> subject,
                                  const SubjectSettings& settings, RowPassHost& host);

// The share of the card's pixels a capped gain was held on, in percent to one
// decimal ("1.3"), as the note on a subject says it.
std::string CappedShare(std::uint64_t capped, const CardSource& card);
