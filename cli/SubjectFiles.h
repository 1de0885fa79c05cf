#pragma once

#include <string>
#include <vector>

// The subjects named on the command line, in order: a file stands for itself,
// a folder for its files ending in .tif, .tiff or .jfx (in any case), sorted
// by name, without going into subfolders.
std::vector<std::string> ExpandSubjects(const std::vector<std::string>& arguments);

bool HasSubjectExtension(const std::string& name);
