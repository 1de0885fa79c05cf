#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "FolderItem.h"
#include "Picture.h"
#include "RowPass.h"
#include "RowPassHost.h"
#include "TiffFile.h"

// The words for an output that didn't come out whole.
inline constexpr const char* kWriteProblemText = "Problem writing equalized TIFF file.";

// How the rewritten copy reaches its name; the output's bytes are the same.
enum class OutputPlacement {
    // The copy is made under its final name and rewritten there, as the window
    // always has: an output already there is replaced by the file the user
    // picks in a save dialog, and a stopped pass leaves its partial output.
    UnderFinalName,
    // The copy is made under a hidden name beside the final one and renamed
    // only when complete, so no half-written output ever carries the name.
    BesideThenRename,
};

// What the window adds to equalizing a subject: its state and its dialogs.
class SubjectWindow {
  public:
    virtual ~SubjectWindow() = default;
    // The subject has opened and is now the one in work.
    virtual void SubjectOpened() = 0;
    // The subject passed its tests; the window shows a preview of it.
    virtual void SubjectAccepted(TiffFile& subject) = 0;
    // The file to write instead of an output that is already there.
    virtual std::shared_ptr<FolderItem> InsteadOfExisting(const std::string& outputName) = 0;
    // Where the row pass draws the result preview.
    virtual std::shared_ptr<Picture>& ResultPicture() = 0;
};

// What every subject of one run shares.
struct SubjectSettings {
    const TiffFile& white;  // analysed once
    // The white card's open stream, read by one subject after the other; nil
    // has each subject open its own, so that subjects can run side by side.
    BinaryStream* whiteRows;
    double targetLevel;
    const FolderItem& outputFolder;
    OutputPlacement placement;
    bool overwrite;                     // beside: an output already there is replaced
    std::size_t jobNumber;              // beside: keeps the hidden names of parallel jobs apart
    SubjectWindow* window;              // nil on the command line; needed for the final name
    RowCorrector* corrector = nullptr;  // nil: the window's correction
};

// Where one subject's road ended.
enum class SubjectEnd {
    Missing,       // nothing at the subject's path
    Unopenable,    // no regular file that gives a stream
    Refused,       // not a TIFF this program reads; the reader's words in text
    Unfit,         // the strip, size or extent test failed; its text in text
    NoOutputName,  // the name rule gives no file inside the output folder
    OutputKept,    // beside: the output is there and isn't to be replaced
    IsSubject,     // the output would be the subject itself, which is never written
    CopyFailed,    // the byte copy didn't come out whole
    NotWriteable,  // under the final name: the copy can't be written
    NoStream,      // the copy gives no stream for update
    Written,       // every row written and the output under its name
    WriteFailed,   // some row didn't reach the file
    Cancelled,     // the user stopped the pass
    Appeared,      // beside: an output appeared at the name meanwhile
};

struct SubjectReport {
    explicit SubjectReport(SubjectEnd end, std::string text = {},
                           std::shared_ptr<FolderItem> output = {})
        : end(end), text(std::move(text)), output(std::move(output)) {}

    SubjectEnd end;
    std::string text;                    // for Refused and Unfit
    std::shared_ptr<FolderItem> output;  // from the output's naming on
};

// Equalizes one subject: opens it into tiff, tests it, names its output,
// copies it and rewrites the copy's pixel rows. Exceptions pass to the caller;
// beside the final name, the hidden copy is removed first.
SubjectReport EqualizeSubjectFile(TiffFile& tiff, std::shared_ptr<FolderItem> subject,
                                  const SubjectSettings& settings, RowPassHost& host);
