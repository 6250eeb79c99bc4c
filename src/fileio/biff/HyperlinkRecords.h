#pragma once
// Fields of HLINK.

#include "base/Base.h"

namespace tally {

constexpr u32 LINK_HAS_TARGET = 1, LINK_IS_ABSOLUTE = 2, LINK_HAS_LOCATION = 8, LINK_HAS_DESCRIPTION = 0x14,
              LINK_HAS_FRAME = 0x80, LINK_IS_UNC = 0x100;
constexpr std::size_t FILE_FILLER = 20;    // bytes between the two forms of a path, behind a mark of four
constexpr std::size_t WIDE_PATH_HEAD = 6;  // bytes in front of a path in 16-bit characters

}  // namespace tally
