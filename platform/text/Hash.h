#pragma once

#include <cstdint>
#include <string_view>

namespace tessik::text {

/// FNV-1a, 64 bit: small, and the same on every machine. For identifiers, not for secrets.
inline std::uint64_t hash(std::string_view text) {
    std::uint64_t value = 14695981039346656037ULL;
    for (const char c : text) {
        value = (value ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return value;
}

} // namespace tessik::text
