#pragma once
// Fixed-width names and the limits of a sheet. Every other header builds on this one.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tally {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

// A view of UTF-16 text. It owns nothing and need not be zero-terminated.
using WideView = std::u16string_view;
// A view of bytes from or to a file.
using ByteView = std::span<const u8>;

constexpr i32 MAX_ROWS = 65536;
constexpr i32 MAX_COLUMNS = 256;
constexpr i32 MAX_SHEETS = 32767;
constexpr i32 MAX_SHEET_NAME = 31;  // characters
constexpr i32 UNDO_DEPTH = 16;

// Marks a failure that is ignored on purpose, so that such places can be found.
template <typename T>
constexpr void IgnoreFailure(const T&) {}

}  // namespace tally
