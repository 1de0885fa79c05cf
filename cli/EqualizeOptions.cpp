#include "EqualizeOptions.h"

#include <charconv>
#include <cmath>

namespace {
// The whole text must be the number: "12abc" is refused, not read as 12.
template <class Number>
bool WholeNumber(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    return !text.empty() && result.ec == std::errc() && result.ptr == end;
}
}  // namespace

bool EqualizeOptions::Parse(const std::vector<std::string>& args, std::string& error) {
    bool haveWhite = false, haveOutput = false;
    for (std::size_t k = 0; k < args.size(); ++k) {
        const std::string& word = args[k];
        const bool takesValue =
            word == "--white" || word == "--output" || word == "--amount" || word == "--jobs";
        if (takesValue && k + 1 >= args.size()) {
            error = word + " needs a value";
            return false;
        }
        if (word == "--white") {
            white = args[++k];
            haveWhite = true;
        } else if (word == "--output") {
            output = args[++k];
            haveOutput = true;
        } else if (word == "--amount") {
            double percent = 0.0;
            if (!WholeNumber(args[++k], percent) || !std::isfinite(percent) || percent < 0.0) {
                error = "--amount needs a number of percent, 0 or more: " + args[k];
                return false;
            }
            amountToApply = percent / 100.0;
        } else if (word == "--jobs") {
            if (!WholeNumber(args[++k], jobs) || jobs < 1) {
                error = "--jobs needs a whole number, 1 or more: " + args[k];
                return false;
            }
        } else if (word == "--overwrite") {
            overwrite = true;
        } else if (word.size() > 1 && word[0] == '-') {
            error = "unknown option " + word;
            return false;
        } else {
            subjects.push_back(word);
        }
    }
    if (!haveWhite || !haveOutput || subjects.empty()) {
        error = "--white, --output and at least one SUBJECT are needed";
        return false;
    }
    return true;
}
