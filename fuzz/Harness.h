#pragma once

#include <string>

// What the fuzz targets do with one input file, shared with the regression
// tests that replay every finding through the ordinary build. Each aborts,
// saying why on stderr, when what it checks doesn't hold.

// Opens the file as a white card, judges it, and when it is accepted scans it
// and makes its preview, as the window does.
void ExerciseWhiteCard(const std::string& path);

// Equalizes the file as a subject against each of two small fixed white
// cards (8-bit little-endian and 16-bit big-endian, 6 x 4), once as the one
// ticked row of a press of Process, with previews on, its output under its
// final name, and once as a job of brisavane-cli, its output made beside its
// name and named when whole; each into a fresh output folder, removed
// afterwards. Aborts if the subject's bytes changed, if a folder holds
// anything but the output, if the command line's folder holds an output it
// didn't report or one that doesn't read back as a subject, or if the two
// placements didn't write the same bytes.
void ExerciseEqualize(const std::string& path);

// Gives the file to brisavane-cli as a subject against each of the two fixed
// white cards, and as a white card against itself, so that whatever libtiff
// reads goes through the command line's own reading and rewriting. Aborts if
// the subject's bytes changed or a partial copy stayed behind.
void ExerciseCommandLine(const std::string& path);

// Opens the file as a white card, as shot and in linear light, and makes of
// each card that opens its preview, its tone map and the whole card report
// (A3, 100 %) in memory: the JSON, the page and its pictures. Aborts if the
// JSON doesn't parse.
void ExerciseCardReport(const std::string& path);

// Gives the file's bytes as an ICC profile to the tone curves of --linear,
// at 8 and 16 bits, and to the report's colour conversion, at both scales.
// Aborts if curves that were made break their own promises: linear values
// outside [0, 1] or falling, a nearest sample that isn't nearest, or a
// brightened run of samples that differs from the same samples one by one.
void ExerciseIccProfile(const std::string& path);
