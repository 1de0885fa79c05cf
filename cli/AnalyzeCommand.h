#pragma once

#include <ostream>
#include <string>
#include <vector>

// brisavane-cli analyze WHITE: the white card's figures, as the window shows them.
int RunAnalyze(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
