#pragma once
// Fields of NAME, SUPBOOK, EXTERNNAME and EXTERNSHEET.

#include "base/Base.h"

namespace tally {

constexpr u16 NAME_IS_BUILT_IN = 0x20, EXTERNNAME_IS_BUILT_IN = 1;
constexpr std::size_t NAME_HEAD = 14;      // bytes in front of a name's text
constexpr std::size_t NAME_TEXTS_AT = 10;  // lengths of its texts for menus, one byte each
// Kinds of SUPBOOK in place of a path's length.
constexpr u16 SUPBOOK_OWN = 0x0401, SUPBOOK_ADDIN = 0x3A01;
// What a text of the 95 form begins with when it leads to no file.
constexpr u8 OWN_SHEET_MARK = 3, OWN_BOOK_MARK = 4, ADDIN_MARK = ':';

}  // namespace tally
