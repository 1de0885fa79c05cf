#include "JsonResults.h"

#include <cmath>
#include <nlohmann/json.hpp>

namespace {
using Json = nlohmann::ordered_json;

// Milliseconds are as fine as a wall clock on a busy machine is worth.
double Rounded(double seconds) {
    return std::round(seconds * 1000.0) / 1000.0;
}

Json TextOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

// File names are bytes, not always UTF-8: a stray byte becomes U+FFFD rather
// than ending the run.
std::string Dumped(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}
}  // namespace

std::string JsonLine(const SubjectResult& result) {
    Json figures = Json::object();
    for (const auto& [name, value] : result.figures) figures[name] = value;
    return Dumped(Json{{"name", result.name},
                       {"status", StatusWord(result.outcome)},
                       {"output", TextOrNull(result.output)},
                       {"reason", TextOrNull(result.reason)},
                       {"seconds", Rounded(result.seconds)},
                       {"notes", result.notes},
                       {"card", result.card ? Json(*result.card) : Json(nullptr)},
                       {"figures", figures}});
}

std::string JsonTotals(const RunTotals& totals) {
    return Dumped(Json{{"totals",
                        {{"written", totals.written},
                         {"failed", totals.failed},
                         {"skipped", totals.skipped},
                         {"seconds", Rounded(totals.seconds)}}}});
}
