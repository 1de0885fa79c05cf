#pragma once

#include <ostream>
#include <string>

#include "CardSource.h"

// What analyze --report asks for, as typed.
struct CardReportRequest {
    std::string folder;
    std::string format = "A3";
    std::string amount = "100";  // percent
};

// Writes report.html, report.json and the pictures the page shows into the
// folder, each under a hidden name first and renamed once all are written, so
// no half-written report is left under the final names. Returns the exit status.
int WriteCardReport(const CardSource& white, const CardReportRequest& request, std::ostream& err);
