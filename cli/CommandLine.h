#pragma once

#include <ostream>
#include <string>
#include <vector>

// The whole of brisavane-cli: the words after the program's name go to the
// command they name; --help lists the commands, --version tells the version.
// Progress goes to terminal when it isn't nil.
int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                   std::ostream* terminal);
