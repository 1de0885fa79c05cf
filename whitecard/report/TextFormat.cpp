#include "TextFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

std::string Fixed(double value, int decimals) {
    if (!std::isfinite(value)) return "n/a";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text[0] == '-' && std::stod(text) == 0.0 ? text + 1 : text;  // no "-0.00"
}

std::string Escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string Base64(const std::string& bytes) {
    static constexpr char kDigits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < n ? static_cast<std::uint8_t>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= n ? kDigits[(group >> (18 - 6 * k)) & 63] : '=';
    }
    return out;
}
