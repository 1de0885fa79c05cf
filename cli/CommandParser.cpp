#include "CommandParser.h"

#include <charconv>
#include <cmath>

#include "ExitCodes.h"

namespace {
// CLI11 says "At Most 1 required but received 2" of an option given twice;
// this says which option, in words.
std::optional<std::string> Repeated(const CLI::App& app) {
    for (const CLI::Option* option : app.get_options())
        if (option->get_type_size() > 0 && option->get_items_expected_max() == 1 &&
            option->count() > 1)
            return option->get_name() + " is given more than once; it takes one value";
    return std::nullopt;
}
}  // namespace

CommandParser::CommandParser(const std::string& name, const std::string& description,
                             const std::string& usage)
    : app_(description, name), usage_(usage) {}

std::optional<int> CommandParser::Parse(const std::vector<std::string>& args, std::ostream& out,
                                        std::ostream& err) {
    std::vector<std::string> reversed(args.rbegin(), args.rend());  // as CLI11 takes them
    try {
        app_.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        out << app_.help();
        return kExitOk;
    } catch (const CLI::CallForVersion& e) {
        out << e.what() << "\n";
        return kExitOk;
    } catch (const CLI::ArgumentMismatch& e) {
        return Refuse(Repeated(app_).value_or(e.what()), err);
    } catch (const CLI::ParseError& e) {
        return Refuse(e.what(), err);
    }
    return std::nullopt;
}

int CommandParser::Refuse(const std::string& error, std::ostream& err) const {
    err << app_.get_name() << ": " << error << "\n"
        << "usage: " << usage_ << "\n";
    return kExitUnusable;
}

CLI::Validator NonEmptyPath() {
    return CLI::Validator(
        [](const std::string& path) { return path.empty() ? std::string("needs a path") : ""; },
        "");
}

std::optional<double> PercentText(const std::string& text) {
    double value = 0.0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value) ||
        value < 0.0)
        return std::nullopt;
    return value;
}

std::string CardErrorLine(const std::string& command, const CardProblem& problem) {
    const bool modes = problem.verdict == CardVerdict::Mismatched ||
                       problem.verdict == CardVerdict::NoCurves ||
                       problem.verdict == CardVerdict::NoLibrary;
    return modes ? command + ": " + problem.text : problem.text;
}
