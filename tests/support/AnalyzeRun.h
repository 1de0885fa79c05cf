#pragma once

// brisavane-cli analyze run in-process, with what it printed.

#include <sstream>
#include <string>
#include <vector>

#include "AnalyzeCommand.h"

struct CliRun {
    int code;
    std::string out, err;
};

inline CliRun Analyze(const std::vector<std::string>& args) {
    std::ostringstream out, err;
    const int code = RunAnalyze(args, out, err);
    return {code, out.str(), err.str()};
}
