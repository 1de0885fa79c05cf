#include "CommandLine.h"

#include <functional>

#include "AnalyzeCommand.h"
#include "CommandParser.h"
#include "EqualizeCommand.h"
#include "EqualizeOptions.h"
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

// The usage lines of all commands, one under the other.
std::string Usage() {
    std::string usage;
    for (const Command& command : Commands())
        usage.append(usage.empty() ? "" : "\n       ").append(command.usage);
    return usage;
}
}  // namespace

int RunCommandLine(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
                   std::ostream* terminal) {
    const std::vector<std::string> rest(args.begin() + (args.empty() ? 0 : 1), args.end());
    for (const Command& command : Commands())
        if (!args.empty() && args[0] == command.name) return command.run(rest, out, err, terminal);
    // The program's own options: --help lists the commands, --version.
    CommandParser parser("brisavane-cli", "Equalize lens and light falloff in TIFF images.",
                         Usage());
    CLI::App& app = parser.App();
    app.set_version_flag("--version", std::string("brisavane-cli ") + kBrisavaneVersion,
                         "Print the version and exit.");
    for (const Command& command : Commands()) app.add_subcommand(command.name, command.sentence);
    app.footer("Run brisavane-cli COMMAND --help for the options of a command.\n");
    if (!args.empty() && !args[0].starts_with("-"))
        return parser.Refuse("unknown command '" + args[0] + "'", err);
    if (const auto exit = parser.Parse(args, out, err)) return *exit;
    return parser.Refuse("a COMMAND is needed", err);
}
