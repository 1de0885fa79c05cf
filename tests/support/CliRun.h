#pragma once

// brisavane-cli's commands run in-process, with what they printed.

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "AnalyzeCommand.h"
#include "EqualizeCommand.h"
#include "InfoCommand.h"

struct CliRun {
    int code;
    std::string out, err;
};

// Words split at blanks; "@name" stands for a file in folder, "@" for the folder.
inline std::vector<std::string> Words(const std::string& line,
                                      const std::filesystem::path& folder) {
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string w; in >> w;)
        words.push_back(w[0] == '@' ? (folder / w.substr(1)).string() : w);
    return words;
}

// Runs one command as brisavane-cli would, its printing caught.
template <class Command, class... More>
CliRun RunCommand(Command command, const std::vector<std::string>& args, More... more) {
    std::ostringstream out, err;
    const int code = command(args, out, err, more...);
    return {code, out.str(), err.str()};
}

inline CliRun Analyze(const std::vector<std::string>& args) {
    return RunCommand(RunAnalyze, args);
}
inline CliRun Info(const std::vector<std::string>& args) {
    return RunCommand(RunInfo, args);
}
inline CliRun Equalize(const std::vector<std::string>& args, std::ostream* terminal = nullptr) {
    return RunCommand(RunEqualize, args, terminal);
}
