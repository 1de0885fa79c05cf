#pragma once

#include <cstddef>
#include <string>

#include "FolderItem.h"
#include "ModeRun.h"
#include "RowPassHost.h"
#include "SubjectResult.h"
#include "TiffFile.h"

// What every subject of one run shares: the white card, analysed once, and
// where and how the outputs go.
struct JobSettings {
    const TiffFile& white;
    double targetLevel;
    FolderItem outputFolder;
    bool overwrite;
    // The card's path when it is read through libtiff (not one plain strip);
    // every subject then goes that way too.
    std::string cardThroughLibtiff = {};
    const ModeRun* modes = nullptr;  // nil: the window's correction
    bool spareCore = false;          // a core no job runs on, for the modes to share a row with
};

// Equalizes one subject as the window's batch does: the same tests and texts,
// the same name rule, the same row pass, so the bytes are the same. The output
// is written under a temporary name beside its final one and renamed only when
// complete; an existing output is replaced only when settings.overwrite.
// jobNumber keeps the temporary names of parallel jobs apart.
SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber);
