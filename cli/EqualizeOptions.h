#pragma once

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

// The command line of brisavane-cli equalize, read and checked.
struct EqualizeOptions {
    std::string white;
    std::string output;
    double amountToApply = 1.0;  // --amount in percent, divided by 100 as the window does
    bool overwrite = false;
    int jobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));  // one a core
    std::vector<std::string> subjects;

    // Fills the options from the words after "equalize"; false with the
    // reason in error for anything that isn't a valid command line.
    bool Parse(const std::vector<std::string>& args, std::string& error);
};

inline constexpr const char* kEqualizeUsage =
    "usage: brisavane-cli equalize --white WHITE --output DIR [--amount PERCENT] [--overwrite] "
    "[--jobs N] SUBJECT...";
