#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "CardSource.h"

// A correction amount as typed: a plain decimal number of percent, 0 or more
// ("12x", "0x10" and " 5" are refused, not read in part or in another base).
std::optional<double> PercentText(const std::string& text);

// One command's options through CLI11, with this tool's conventions: --help
// and --version on stdout and exit 0; anything else wrong names the bad
// option on stderr after "brisavane-cli COMMAND: ", then the usage line, and
// exits 2.
class CommandParser {
  public:
    // name as "brisavane-cli info"; usage is the command's line without
    // "usage: ", e.g. "brisavane-cli info FILE [--profile OUT]".
    CommandParser(const std::string& name, const std::string& description,
                  const std::string& usage);

    CLI::App& App() { return app_; }
    // nullopt when the command may run; otherwise the exit code, with the
    // help or the error already printed.
    std::optional<int> Parse(const std::vector<std::string>& args, std::ostream& out,
                             std::ostream& err);
    // The same after options.Declare(App()).
    template <class Options>
    std::optional<int> Parse(Options& options, const std::vector<std::string>& args,
                             std::ostream& out, std::ostream& err) {
        options.Declare(app_);
        return Parse(args, out, err);
    }
    // A usage error found after parsing, told the same way; gives the exit code.
    int Refuse(const std::string& error, std::ostream& err) const;

  private:
    CLI::App app_;
    std::string usage_;
};

// Refuses an empty word where a path is needed.
CLI::Validator NonEmptyPath();

// The line that says why the white card can't serve: the card's own words,
// and where those speak of the modes' other files, after the command's name.
std::string CardErrorLine(const std::string& command, const CardProblem& problem);
