#pragma once

#include <string>
#include <vector>

#include "CardMeasurement.h"

// The report's figures as the page's table and report.json both list them,
// so that the two can't tell different stories.
struct FigureRow {
    const char* key;      // name in report.json
    const char* name;     // label on the page
    const char* formula;  // written on the page beside the figure
    const char* unit;
    int decimals;
    double (*value)(const CardFigures&);
    // What the figure is judged to be, and under which name report.json keeps
    // that; nullptr for a figure that is only measured.
    const char* judgementKey;
    std::string (*judgement)(const CardMeasurement&, const CardFigures&);
};

const std::vector<FigureRow>& FigureRows();
