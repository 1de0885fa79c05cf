#pragma once

#include <string>

// A number with a fixed count of decimals, "n/a" when it has no value, as the
// page and its pictures print every figure.
std::string Fixed(double value, int decimals);

// Text made safe inside HTML and SVG elements and attributes.
std::string Escaped(const std::string& text);

std::string Base64(const std::string& bytes);
