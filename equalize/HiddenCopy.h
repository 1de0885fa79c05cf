#pragma once

#include <cstddef>
#include <string>

#include "FolderItem.h"

// The command line writes each output under a hidden name beside its final
// one and renames it only when complete, so no half-written output ever
// carries the name. The process and job numbers keep the hidden names of
// parallel runs and jobs apart.
std::string HiddenCopyName(const std::string& outputName, std::size_t jobNumber);

// Gives the finished copy its name in one step. Without overwrite an output
// that appeared in the meantime is left alone, where the file system can
// promise that; elsewhere the earlier test for an existing file has to do.
bool PublishCopy(const FolderItem& copy, const FolderItem& output, bool overwrite);
