#pragma once

#include <string>

// What the fuzz targets do with one input file, shared with the regression
// tests that replay every finding through the ordinary build.

// Opens the file as a white card, judges it, and when it is accepted scans it
// and makes its preview, as the window does.
void ExerciseWhiteCard(const std::string& path);

// Equalizes the file as the one ticked subject of a press of Process, with
// previews on, against each of two small fixed white cards (8-bit
// little-endian and 16-bit big-endian, 6 x 4), into a fresh output folder
// that is removed afterwards. Aborts if the subject's bytes changed.
void ExerciseEqualize(const std::string& path);

// Gives the file to brisavane-cli as a subject against each of the two fixed
// white cards, and as a white card against itself, so that whatever libtiff
// reads goes through the command line's own reading and rewriting. Aborts if
// the subject's bytes changed or a partial copy stayed behind.
void ExerciseCommandLine(const std::string& path);
