#include "SubjectResult.h"

const char* StatusWord(SubjectOutcome outcome) {
    switch (outcome) {
        case SubjectOutcome::Written:
            return "written";
        case SubjectOutcome::Failed:
            return "failed";
        case SubjectOutcome::Skipped:
            break;
    }
    return "skipped";
}

SubjectResult SubjectResult::Written(const std::string& name, const std::string& output) {
    SubjectResult result;
    result.outcome = SubjectOutcome::Written;
    result.name = name;
    result.output = output;
    return result;
}

SubjectResult SubjectResult::Failed(const std::string& name, const std::string& reason) {
    SubjectResult result;
    result.name = name;
    result.reason = reason;
    return result;
}

SubjectResult SubjectResult::Skipped(const std::string& name, const std::string& reason) {
    SubjectResult result = Failed(name, reason);
    result.outcome = SubjectOutcome::Skipped;
    return result;
}

void RunTotals::Add(const SubjectResult& result) {
    int& count = result.outcome == SubjectOutcome::Written  ? written
                 : result.outcome == SubjectOutcome::Failed ? failed
                                                            : skipped;
    ++count;
}
