#pragma once

#include <ostream>
#include <string>
#include <vector>

inline constexpr const char* kAnalyzeUsage =
    "brisavane-cli analyze (WHITE [--preview PNG] [--tone-map PNG] "
    "[--report DIR [--format A4|A3|A2|A1|A0] [--amount PERCENT]] | --cards DIR) "
    "[--channels green|rgb]";

// brisavane-cli analyze WHITE: the white card's figures, as the window shows them;
// with --preview and --tone-map also its preview and tone map as PNG files, and
// with --report DIR a page and data on how evenly the card is lit.
int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
