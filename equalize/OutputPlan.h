#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "FolderItem.h"
#include "UnnamedFile.h"

// How a subject's output reaches its name; the output's bytes are the same.
enum class OutputPlacement {
    // The output is made under its final name and rewritten there, as the
    // window always has: one already there is replaced by the file the user
    // picks in a save dialog, and a stopped pass leaves its partial output.
    UnderFinalName,
    // The output is made beside its final name, without a name where the
    // file system allows it, and given the name only when complete, so no
    // half-written output ever carries the name, even after a kill.
    BesideThenRename,
};

// Whether a name leads to a pipe, socket or device, which is never opened as
// an output: writing would wait for a reader, or send the bytes nowhere.
bool SpecialFile(const FolderItem& item);
// Whether two names lead to one file.
bool SameFile(const FolderItem& a, const FolderItem& b);

// The name a half-written output has where the file system can't do without
// one: hidden, and kept apart from parallel runs' and jobs' by the process
// and job numbers.
std::string HiddenOutputName(const std::string& outputName, std::size_t jobNumber);

// An output beside its final name, made in the output folder with the
// subject's permissions; nil when it can't be made.
std::unique_ptr<UnnamedFile> OutputBeside(const FolderItem& folder, const std::string& outputName,
                                          std::size_t jobNumber, mode_t mode);

// Why a subject of a run of several is settled before any job starts, so that
// parallel jobs never race for one file: of two subjects with one output name
// (a.tif and a.tiff) the first one given keeps it, an output that would
// replace one of the subjects themselves is never written, and with
// skipExisting an output already there stands for a subject done by an
// earlier run. Empty where a subject goes to its job.
struct SettledSubject {
    std::string reason;
    bool done = false;  // an earlier run wrote its output
};
std::vector<std::optional<SettledSubject>> SettleOutputs(const std::vector<std::string>& subjects,
                                                         const FolderItem& folder,
                                                         bool skipExisting);
