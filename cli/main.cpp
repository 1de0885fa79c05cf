// brisavane-cli: the headless companion of the desktop program, on the same core.

#include <unistd.h>

#include <iostream>

#include "CommandLine.h"

int main(int argc, char** argv) {
    return RunCommandLine(std::vector<std::string>(argv + 1, argv + argc), std::cout, std::cerr,
                          ::isatty(STDERR_FILENO) ? &std::cerr : nullptr);
}
