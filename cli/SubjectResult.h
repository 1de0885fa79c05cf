#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

enum class SubjectOutcome { Written, Failed, Skipped };

// The word a result line and a JSON object give an outcome.
const char* StatusWord(SubjectOutcome outcome);

// What became of one subject, as data; the result line and the JSON object
// are both made from it.
struct SubjectResult {
    SubjectOutcome outcome = SubjectOutcome::Failed;
    std::string name;                       // the subject's file name
    std::string output;                     // the written file; empty unless written
    std::string reason;                     // why it wasn't written; empty when it was
    std::vector<std::string> notes;         // remarks that follow the line in parentheses
    std::map<std::string, double> figures;  // measures of the file, by name
    double seconds = 0.0;                   // time spent on it
    // The card's shots that served it, or would have; nullopt when none did.
    std::optional<std::vector<std::string>> card;
    bool done = false;  // skipped because an earlier run already wrote its output

    static SubjectResult Written(const std::string& name, const std::string& output);
    static SubjectResult Failed(const std::string& name, const std::string& reason);
    static SubjectResult Skipped(const std::string& name, const std::string& reason);
};

// What the results of a run add up to.
struct RunTotals {
    int written = 0;
    int failed = 0;
    int skipped = 0;
    double seconds = 0.0;  // the whole run, from start to last line

    void Add(const SubjectResult& result);
};
