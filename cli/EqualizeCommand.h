#pragma once

#include <ostream>
#include <string>
#include <vector>

// brisavane-cli equalize: the window's batch for the command line. One line per
// subject on out, in the order given; progress on terminal when it isn't nil.
int RunEqualize(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                std::ostream* terminal);
