#pragma once
// Bytes as hexadecimal digits, for tables of expected records and tokens.

#include <string>
#include <vector>

#include "base/Base.h"

namespace tally {

using Bytes = std::vector<u8>;

// "01 02 FF"; blanks may stand anywhere between two bytes.
inline Bytes Hex(const std::string& text) {
    Bytes out;
    for (std::size_t i = 0; i + 1 < text.size();) {
        if (text[i] == ' ') {
            ++i;
            continue;
        }
        out.push_back(static_cast<u8>(std::stoi(text.substr(i, 2), nullptr, 16)));
        i += 2;
    }
    return out;
}

inline std::string Digits(const Bytes& bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string out;
    for (const u8 byte : bytes) {
        if (!out.empty()) out += ' ';
        out += digits[byte >> 4];
        out += digits[byte & 15];
    }
    return out;
}

}  // namespace tally
