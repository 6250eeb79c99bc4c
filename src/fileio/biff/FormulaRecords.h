#pragma once
// Fields of FORMULA, ARRAY and SHRFMLA, and of numbers in RK form.

#include "base/Base.h"

namespace tally {

constexpr u16 FORMULA_ALWAYS = 1, FORMULA_ON_LOAD = 2, FORMULA_IS_SHARED = 8;
// Bytes in front of the tokens, whose length is the last word of them in ARRAY and SHRFMLA.
constexpr std::size_t FORMULA_HEAD = 22, ARRAY_HEAD = 14, SHRFMLA_HEAD = 10;
constexpr std::size_t FORMULA_FLAGS_AT = 14, FORMULA_LENGTH_AT = 20;
constexpr u16 NOT_A_NUMBER = 0xFFFF;  // the last word of a result that is none

constexpr u32 RK_HUNDREDTHS = 1, RK_WHOLE = 2;

}  // namespace tally
