#include "SubjectFiles.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "FolderItem.h"

bool HasSubjectExtension(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const std::string ending : {".tif", ".tiff", ".jfx"})
        if (lower.size() > ending.size() && lower.ends_with(ending)) return true;
    return false;
}

std::vector<std::string> ExpandSubjects(const std::vector<std::string>& arguments) {
    std::vector<std::string> subjects;
    for (const std::string& argument : arguments) {
        const FolderItem item{std::filesystem::path(argument)};
        if (!item.Directory()) {
            subjects.push_back(argument);
            continue;
        }
        for (const FolderItem& child : item.Children())
            if (!child.Directory() && HasSubjectExtension(child.Name()))
                subjects.push_back(child.NativePath());
    }
    return subjects;
}

std::vector<std::string> ReadSubjectList(std::istream& in) {
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.find_first_not_of(" \t") != std::string::npos) names.push_back(line);
    }
    return names;
}
