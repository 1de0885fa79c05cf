#pragma once

#include <string>

// What the fuzz targets do with one input file, shared with the regression
// tests that replay every finding through the ordinary build.

// Opens the file as a white card, judges it, and when it is accepted scans it
// and makes its preview, as the window does.
void ExerciseWhiteCard(const std::string& path);
