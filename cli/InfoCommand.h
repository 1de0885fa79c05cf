#pragma once

#include <ostream>
#include <string>
#include <vector>

inline constexpr const char* kInfoUsage = "brisavane-cli info FILE [--profile OUT]";

// brisavane-cli info FILE [--profile OUT]: the record that the reader makes of
// a file, one "Name: value" line a property in declared order, and with
// --profile the embedded ICC profile's bytes written to OUT.
int RunInfo(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
