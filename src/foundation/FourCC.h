#pragma once

#include <cstdint>

namespace spindrel {

/// A four-character code as one big-endian number: fourCC("moov") == 0x6D6F6F76. The copyright
/// sign of iTunes item codes is the single byte 0xA9: fourCC("\xA9nam").
constexpr uint32_t fourCC(const char (&code)[5])
{
    return uint32_t(uint8_t(code[0])) << 24 | uint32_t(uint8_t(code[1])) << 16 |
           uint32_t(uint8_t(code[2])) << 8 | uint32_t(uint8_t(code[3]));
}

} // namespace spindrel
