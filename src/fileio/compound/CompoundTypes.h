#pragma once
// What readers and writers of compound files both know of their layout.

#include "base/Base.h"

namespace tally {

constexpr std::size_t SECTOR = 512, MINI_SECTOR = 64, ENTRY = 128;
constexpr u32 NO_SECTOR = 0xFFFFFFFF, END_OF_CHAIN = 0xFFFFFFFE, FAT_MARK = 0xFFFFFFFD, DIFAT_MARK = 0xFFFFFFFC;
constexpr u32 HEADER_FAT_SECTORS = 109, DIFAT_ENTRIES = 127;
constexpr std::size_t MINI_STREAM_LIMIT = 4096;  // shorter streams lie in the mini stream
constexpr u8 KIND_STORAGE = 1, KIND_STREAM = 2, KIND_ROOT = 5;

// Places in the header.
constexpr std::size_t AT_FIRST_DIRECTORY = 48, AT_FIRST_MINI_FAT = 60, AT_FIRST_DIFAT = 68, AT_FAT_LIST = 76;

}  // namespace tally
