#include "NumberText.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

std::string CStr(double value) {
    if (std::isfinite(value) && value == std::trunc(value) && std::fabs(value) < 9.0e15)
        return std::to_string(static_cast<std::int64_t>(value));
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

double Round(double value) {
    return std::round(value);
}

double CDbl(const std::string& text) {
    std::size_t start = text.find_first_not_of(" \t");
    if (start == std::string::npos) return 0.0;
    if (text[start] == '+') ++start;
    double value = 0.0;
    const auto result = std::from_chars(text.data() + start, text.data() + text.size(), value);
    return result.ec == std::errc() ? value : 0.0;
}

std::string FormatFixed(double value, int decimals) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}
