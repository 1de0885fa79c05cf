#pragma once

#include <string>

#include "SubjectResult.h"

// --json: one object a subject, each on a line of its own, with the keys
// name, status, output, reason, seconds, notes and figures (output and reason
// null where they don't apply), and after the last one
// {"totals": {"written": n, "failed": n, "skipped": n, "seconds": s}}.
// No line break.
std::string JsonLine(const SubjectResult& result);
std::string JsonTotals(const RunTotals& totals);
