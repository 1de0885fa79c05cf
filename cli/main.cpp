// brisavane-cli: the headless companion of the desktop program, on the same core.

#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "AnalyzeCommand.h"
#include "EqualizeCommand.h"
#include "ExitCodes.h"
#include "InfoCommand.h"

namespace {
void PrintUsage(std::ostream& out) {
    out << "usage: brisavane-cli analyze WHITE [--preview PNG] [--tone-map PNG]\n"
        << "       brisavane-cli equalize --white WHITE --output DIR [--amount PERCENT] "
           "[--overwrite] [--jobs N] SUBJECT...\n"
        << "       brisavane-cli info FILE [--profile OUT]\n";
}
}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) {
        PrintUsage(std::cerr);
        return kExitUnusable;
    }
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (args[0] == "analyze") return RunAnalyze(rest, std::cout, std::cerr);
    if (args[0] == "info") return RunInfo(rest, std::cout, std::cerr);
    if (args[0] == "equalize")
        return RunEqualize(rest, std::cout, std::cerr,
                           ::isatty(STDERR_FILENO) ? &std::cerr : nullptr);
    if (args[0] == "--help" || args[0] == "-h") {
        PrintUsage(std::cout);
        return kExitOk;
    }
    std::cerr << "brisavane-cli: unknown command '" << args[0] << "'\n";
    PrintUsage(std::cerr);
    return kExitUnusable;
}
