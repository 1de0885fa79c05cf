#pragma once

#include <sys/types.h>

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
