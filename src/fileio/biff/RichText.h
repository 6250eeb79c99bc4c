#pragma once
// The tail of a text: how many runs there are (two bytes), the runs of the 97 form (first character and font as
// the file numbers it, two bytes each), and phonetic data as it stands in the file.

#include "base/SharedText.h"
#include "fileio/biff/BiffReader.h"

namespace tally {

// Option bits of a text in the 97 form: how wide it is and what follows.
constexpr u32 TEXT_IS_WIDE = 1, HAS_PHONETIC = 4, HAS_RUNS = 8;
constexpr std::size_t TEXT_MOST = 32767;  // characters of a cell

constexpr std::size_t RUN_COUNT_BYTES = 2, RUN_BYTES = 4;

inline u32 RunsOf(ByteView tail) { return WordAt(tail, 0); }
inline ByteView RunBytes(ByteView tail) { return Part(tail, RUN_COUNT_BYTES, RunsOf(tail) * RUN_BYTES); }
inline ByteView PhoneticBytes(ByteView tail) { return From(tail, RUN_COUNT_BYTES + RunsOf(tail) * RUN_BYTES); }

}  // namespace tally
