#pragma once

#include <string>

#include "CardMeasurement.h"

// report.json: every figure, block value and verdict with its unit, for lab
// databases. kSchemaVersion changes whenever a field changes meaning or goes.
inline constexpr int kReportSchemaVersion = 1;

std::string ReportJson(const CardMeasurement& m);
