#pragma once

#include <ostream>
#include <string>
#include <vector>

inline constexpr const char* kAnalyzeUsage =
    "brisavane-cli analyze WHITE [--preview PNG] [--tone-map PNG]";

// brisavane-cli analyze WHITE: the white card's figures, as the window shows them;
// with --preview and --tone-map also its preview and tone map as PNG files.
int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
