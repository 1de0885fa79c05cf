#pragma once

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "CorrectionModes.h"

namespace CLI {
class App;
}

inline constexpr const char* kEqualizeUsage =
    "brisavane-cli equalize (--white WHITE [--white WHITE...] | --cards DIR | both) --output DIR "
    "[--amount PERCENT] [--channels green|rgb] [--smooth PIXELS] [--max-gain G] [--linear] "
    "[--dark FILE] [--darken] [--record] [--overwrite | --skip-existing] [--jobs N] [--json] "
    "[--files-from FILE] SUBJECT...";

// The command line of brisavane-cli equalize.
struct EqualizeOptions {
    CorrectionModes modes;  // the white cards are modes.cards; the first is the white card
    std::string library;    // --cards: a folder of cards, one chosen for each subject by its EXIF
    bool record = false;    // --record: the output's XMP says what was done
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
    void DeclareModes(CLI::App& app);
    // What the parser can't check alone; the reason, or "" when all is well.
    std::string Missing() const;
};
