#pragma once

#include <istream>
#include <string>
#include <vector>

// The subjects named on the command line, in order: a file stands for itself,
// a folder for its files ending in .tif, .tiff or .jfx (in any case), sorted
// by name, without going into subfolders.
std::vector<std::string> ExpandSubjects(const std::vector<std::string>& arguments);

bool HasSubjectExtension(const std::string& name);

// The names of a list of subjects, one a line as written, paths relative to
// the current folder; blank lines (empty or only white space) are passed over
// and a carriage return before the line break is dropped.
std::vector<std::string> ReadSubjectList(std::istream& in);
