#pragma once

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace CLI {
class App;
}

inline constexpr const char* kEqualizeUsage =
    "brisavane-cli equalize --white WHITE --output DIR [--amount PERCENT] "
    "[--overwrite | --skip-existing] [--jobs N] [--json] [--files-from FILE] SUBJECT...";

// The command line of brisavane-cli equalize.
struct EqualizeOptions {
    std::string white;
    std::string output;
    double amountToApply = 1.0;  // --amount in percent, divided by 100 as the window does
    bool overwrite = false;
    bool skipExisting = false;
    bool json = false;
    int jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));  // one a core
    std::string fileList;  // --files-from; "-" is standard input
    std::vector<std::string> subjects;

    // Tells app every option, with its sentence for --help and its checks.
    void Declare(CLI::App& app);
    // What the parser can't check alone; the reason, or "" when all is well.
    std::string Missing() const;
};
