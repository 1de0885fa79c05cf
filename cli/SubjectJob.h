#pragma once

#include <cstddef>
#include <string>

#include "CardSource.h"
#include "FolderItem.h"
#include "RowPassHost.h"
#include "SubjectResult.h"

// What every subject of one run shares: the card, read once, and where and
// how the outputs go.
struct JobSettings {
    const CardRun& card;
    FolderItem outputFolder;
    bool overwrite;
    bool spareCore = false;  // a core no job runs on, for a subject's row to share
};

// Equalizes one subject through the engine, the window's own: the same
// judgement, the same name rule, the same roads, so the bytes are the same.
// The output is made beside its final name and named only when complete; an
// existing output is replaced only when settings.overwrite. jobNumber keeps
// the outputs of parallel jobs apart where they need names meanwhile.
SubjectResult EqualizeSubject(const std::string& path, const JobSettings& settings,
                              RowPassHost& host, std::size_t jobNumber);
