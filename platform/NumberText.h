#pragma once

#include <string>

// Numbers to text and back, the way the program shows and reads them.

// A plain number: whole values without a decimal point ("61680"), others in
// the shortest form that reads back exactly ("9999999.9").
std::string CStr(double value);
// Nearest whole number, halves away from zero.
double Round(double value);
// The number at the start of the text, after blanks; 0 when there is none.
double CDbl(const std::string& text);
// Fixed notation with the given number of decimals ("100.0").
std::string FormatFixed(double value, int decimals);
