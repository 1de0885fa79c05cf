#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <functional>

#include "AnalyzeCommand.h"
#include "EqualizeCommand.h"
#include "EqualizeOptions.h"
#include "ExitCodes.h"
#include "InfoCommand.h"
#include "Version.h"

namespace {
struct Command {
    const char* name;
    const char* usage;
    const char* sentence;
    std::function<int(const std::vector<std::string>&, std::ostream&, std::ostream&, std::ostream*)>
        run;
};

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {"analyze", kAnalyzeUsage, "The white card's figures, and its preview and tone map.",
         [](const auto& args, auto& out, auto& err, auto*) { return RunAnalyze(args, out, err); }},
        {"equalize", kEqualizeUsage, "Equalize subject TIFFs against a white card.", RunEqualize},
        {"info", kInfoUsage, "What the reader makes of a TIFF file, and its ICC profile.",
         [](const auto& args, auto& out, auto& err, auto*) { return RunInfo(args, out, err); }},
    };
    return commands;
}

void PrintUsage(std::ostream& out) {
    const char* lead = "usage: ";
    for (const Command& command : Commands()) {
        out << lead << command.usage << "\n";
        lead = "       ";
    }
}

// The program's own options: --help and --version, with the commands listed.
int RunTopLevel(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    CLI::App app("Equalize lens and light falloff in TIFF images.", "brisavane-cli");
    app.set_version_flag("--version", std::string("brisavane-cli ") + kBrisavaneVersion,
                         "Print the version and exit.");
    for (const Command& command : Commands()) app.add_subcommand(command.name, command.sentence);
    app.footer("Run brisavane-cli COMMAND --help for the options of a command.");
    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return kExitOk;
    } catch (const CLI::CallForVersion& e) {
        out << e.what() << "\n";
        return kExitOk;
    } catch (const CLI::ParseError& e) {
        err << "brisavane-cli: " << e.what() << "\n";
    }
    PrintUsage(err);
    return kExitUnusable;
}
}  // namespace

int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                   std::ostream* terminal) {
    const std::vector<std::string> rest(args.begin() + (args.empty() ? 0 : 1), args.end());
    for (const Command& command : Commands())
        if (!args.empty() && args[0] == command.name) return command.run(rest, out, err, terminal);
    if (!args.empty() && !args[0].starts_with("-")) {
        err << "brisavane-cli: unknown command '" << args[0] << "'\n";
        PrintUsage(err);
        return kExitUnusable;
    }
    return RunTopLevel(args, out, err);
}
