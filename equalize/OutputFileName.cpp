#include "OutputFileName.h"

#include <algorithm>
#include <cctype>

std::string CreateOutputFileName(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::size_t at = lower.find(".tif");
    return (at == std::string::npos ? name : name.substr(0, at)) + "_eq.tif";
}
