#pragma once

// brisavane-cli's commands run in-process, with what they printed.

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
