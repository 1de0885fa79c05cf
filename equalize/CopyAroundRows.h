#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FolderItem.h"
#include "TiffFile.h"

// Makes a copy of the subject for a pass that writes every pixel row: the
// bytes before and after the rows are copied, and the rows themselves are
// left for the pass, since copying them first would only have them written
// twice. The copy has the subject's length and, as a whole-file copy would,
// its permissions; an existing file is emptied first. The rows are those the
// pass writes: from ImageOffset (0 if below), ImageHeight rows of BytesPerRow.
// Only for a copy that is thrown away unless the pass finishes: until then
// its rows hold nothing of the subject's. False when the copy isn't whole.
bool CopyAroundRows(const TiffFile& subject, const FolderItem& copy);

// The same for any file: every byte but the skipped ranges [start, end), which
// may overlap or reach past the file's end, is copied to its place in copy.
bool CopyAroundRanges(const std::string& subject, const std::string& copy,
                      std::vector<std::pair<off_t, off_t>> skipped);

// A copy made around the subject's pixel rows for a pass that writes them
// once, where the output must end up as a whole copy of the subject wherever
// the pass didn't write: when the copy is closed, every row from the first
// one not written on is copied in from the subject, however its owner ends
// (no pass at all, a cancel, an exception, a write that failed). The room of
// the whole file is taken on the disk when it is made, so a disk too small
// fails here, where a whole copy would, rather than in the middle of the pass.
class RowsLeftOutCopy {
  public:
    // nil when the copy can't be made this way (a full disk, a file size
    // limit, a file system that can't reserve room, a subject that isn't a
    // regular file); what was made is then left for a whole copy to replace.
    static std::unique_ptr<RowsLeftOutCopy> Make(const TiffFile& subject, const FolderItem& copy);
    ~RowsLeftOutCopy();
    RowsLeftOutCopy(const RowsLeftOutCopy&) = delete;
    RowsLeftOutCopy& operator=(const RowsLeftOutCopy&) = delete;

    // Row y reached the copy; rows count as written as far as none is missing.
    void RowWritten(std::int64_t y) {
        if (y == written_) written_ = y + 1;
    }

  private:
    RowsLeftOutCopy(int in, int out, off_t length, std::pair<off_t, off_t> rows,
                    std::int64_t rowBytes);

    int in_, out_;
    off_t length_;                  // the subject's
    std::pair<off_t, off_t> rows_;  // where the rows begin and end
    std::int64_t rowBytes_;
    std::int64_t written_ = 0;
};
