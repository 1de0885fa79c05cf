#include "ResultLines.h"

std::string ResultLine(const SubjectResult& result) {
    std::string line = result.name + ": " + StatusWord(result.outcome);
    line += result.outcome == SubjectOutcome::Written ? " " + result.output : ": " + result.reason;
    for (std::size_t k = 0; k < result.notes.size(); ++k)
        line.append(k == 0 ? " (" : "; ").append(result.notes[k]);
    if (!result.notes.empty()) line += ")";
    return line;
}
