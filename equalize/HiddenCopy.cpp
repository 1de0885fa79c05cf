#include "HiddenCopy.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

std::string HiddenCopyName(const std::string& outputName, std::size_t jobNumber) {
    std::string hidden = ".";
    hidden.append(outputName).append(".").append(std::to_string(::getpid()));
    return hidden.append("-").append(std::to_string(jobNumber)).append(".part");
}

bool PublishCopy(const FolderItem& copy, const FolderItem& output, bool overwrite) {
    const char* from = copy.Path().c_str();
    const char* to = output.Path().c_str();
    if (overwrite) return std::rename(from, to) == 0;
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    return !output.Exists() && std::rename(from, to) == 0;
}
