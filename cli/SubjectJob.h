#pragma once

#include <cstddef>
#include <string>

#include "FolderItem.h"
#include "RowPassHost.h"
#include "RunCards.h"
#include "SubjectResult.h"

// What every subject of one run shares: its cards, each read once, and where
// and how the outputs go.
struct JobSettings {
    RunCards& cards;
    FolderItem outputFolder;
    bool overwrite;
    bool spareCore = false;  // a core no job runs on, for a subject's row to share
    bool record = false;     // each output's XMP gets a history entry
    double amountPercent = 100.0;
};

// Equalizes one subject through the engine, the window's own: the same
// judgement, the same name rule, the same roads, so the bytes are the same,
// with the card chosen for it (or the words why none serves). The output is
// made beside its final name and named only when complete; an existing
// output is replaced only when settings.overwrite. jobNumber keeps the
// outputs of parallel jobs apart where they need names meanwhile.
SubjectResult EqualizeSubject(const std::string& path, const SubjectCard& card,
                              const JobSettings& settings, RowPassHost& host,
                              std::size_t jobNumber);
