#pragma once

#include <cstddef>
#include <string>

#include "FolderItem.h"
#include "RowPassHost.h"
#include "TiffFile.h"

// What every subject of one run shares: the white card, analysed once, and
// where and how the outputs go.
struct JobSettings {
    const TiffFile& white;
    double targetLevel;
    FolderItem outputFolder;
    bool overwrite;
};

enum class SubjectOutcome { Written, Failed, Skipped };

struct SubjectResult {
    SubjectOutcome outcome;
    std::string line;  // "<name>: written <path>", "<name>: failed: ...", "<name>: skipped: ..."
};

// Equalizes one subject as the window's batch does: the same tests and texts,
// the same name rule, the same row pass, so the bytes are the same. The output
// is written under a temporary name beside its final one and renamed only when
// complete; an existing output is replaced only when settings.overwrite.
// jobNumber keeps the temporary names of parallel jobs apart.
SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber);
