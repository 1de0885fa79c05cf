#pragma once

#include <string>

#include "SubjectResult.h"

// The one rule for a subject's line on stdout: "<name>: written <path>",
// "<name>: failed: <text>" or "<name>: skipped: <reason>", then the notes, if
// any, in parentheses and separated by "; ". No line break.
std::string ResultLine(const SubjectResult& result);
