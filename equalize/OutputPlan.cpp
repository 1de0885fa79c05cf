#include "OutputPlan.h"

#include <unistd.h>

#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "OutputFileName.h"

namespace fs = std::filesystem;

bool SpecialFile(const FolderItem& item) {
    using fs::file_type;
    std::error_code ec;
    const file_type type = fs::status(item.Path(), ec).type();
    return type == file_type::fifo || type == file_type::socket || type == file_type::character ||
           type == file_type::block;
}

bool SameFile(const FolderItem& a, const FolderItem& b) {
    std::error_code ec;
    return fs::equivalent(a.Path(), b.Path(), ec) && !ec;
}

std::string HiddenOutputName(const std::string& outputName, std::size_t jobNumber) {
    std::string hidden = ".";
    hidden.append(outputName).append(".").append(std::to_string(::getpid()));
    return hidden.append("-").append(std::to_string(jobNumber)).append(".part");
}

std::unique_ptr<UnnamedFile> OutputBeside(const FolderItem& folder, const std::string& outputName,
                                          std::size_t jobNumber, mode_t mode) {
    return UnnamedFile::Make(folder.Path(), HiddenOutputName(outputName, jobNumber), mode);
}

namespace {
fs::path Resolved(const fs::path& path) {
    std::error_code ec;
    const auto resolved = fs::weakly_canonical(fs::absolute(path), ec);
    return ec ? path : resolved;
}
}  // namespace

std::vector<std::optional<SettledSubject>> SettleOutputs(const std::vector<std::string>& subjects,
                                                         const FolderItem& folder,
                                                         bool skipExisting) {
    std::vector<std::optional<SettledSubject>> settled(subjects.size());
    std::set<fs::path> inputs;
    for (const std::string& subject : subjects) inputs.insert(Resolved(subject));
    std::map<std::string, std::string> owners;
    for (std::size_t k = 0; k < subjects.size(); ++k) {
        const std::string name = fs::path(subjects[k]).filename().string();
        const std::string output = CreateOutputFileName(name);
        const auto [owner, fresh] = owners.emplace(output, name);
        const auto target = folder.Child(output);
        if (!fresh)
            settled[k] = SettledSubject{owner->second + " has the same output name"};
        else if (inputs.count(Resolved(folder.Path() / output)))
            settled[k] = SettledSubject{"its output would replace the subject " + output};
        else if (skipExisting && target && target->Exists())
            settled[k] = SettledSubject{target->NativePath() + " exists", true};
    }
    return settled;
}
