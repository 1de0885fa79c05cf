#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FolderItem.h"

// A stretch of a file's bytes, [first, second); it may reach past the file's end.
using ByteRange = std::pair<off_t, off_t>;

// Makes the file open on `out` a copy of the subject for a pass that writes
// the given ranges itself (its pixel rows, or its strips and tiles): every
// other byte is copied to its place, and the ranges are left for the pass,
// since copying them first would only have them written twice. The copy gets
// the subject's length and, as a whole-file copy would, its permissions.
// Only for a copy that is thrown away unless the pass finishes: until then
// its ranges hold nothing of the subject's. False when the copy isn't whole.
bool CopyAround(const std::string& subject, int out, std::vector<ByteRange> skipped);

// A copy made around the ranges under the output's final name, for a pass
// that writes them once where the output must end up as a whole copy of the
// subject wherever the pass didn't write: when the copy is closed, what of
// each range wasn't written, from the first byte not written on, is copied
// in from the subject, however its owner ends (no pass at all, a cancel, an
// exception, a write that failed). The room of the whole file is taken on
// the disk when it is made, so a disk too small fails here, where a whole
// copy would, rather than in the middle of the pass.
class LeftOutCopy {
  public:
    // nil when the copy can't be made this way (a full disk, a file size
    // limit, a file system that can't reserve room, a subject that isn't a
    // regular file); what was made is then left for a whole copy to replace.
    static std::unique_ptr<LeftOutCopy> Make(const std::string& subject, const FolderItem& output,
                                             std::vector<ByteRange> ranges);
    ~LeftOutCopy();
    LeftOutCopy(const LeftOutCopy&) = delete;
    LeftOutCopy& operator=(const LeftOutCopy&) = delete;

    // Bytes [from, to) of range k reached the copy; a range counts as
    // written as far as nothing before is missing.
    void Written(std::size_t k, off_t from, off_t to) {
        if (k < written_.size() && from == written_[k]) written_[k] = to;
    }

  private:
    LeftOutCopy(int in, int out, off_t length, std::vector<ByteRange> ranges);

    int in_, out_;
    off_t length_;  // the subject's
    std::vector<ByteRange> ranges_;
    std::vector<off_t> written_;  // of each range, up to where
};

// Where the rows of a one-strip pass begin and end: from ImageOffset (0 if
// below), ImageHeight rows of BytesPerRow; the end may lie past the file's.
class TiffFile;
ByteRange RowsOf(const TiffFile& subject);
