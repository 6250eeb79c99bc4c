#pragma once
// Numbers in bytes of a file, the low byte first. Nothing is read beyond the end: what is missing reads as
// zeros.

#include <bit>

#include "base/Base.h"
#include "formula/TokenWalk.h"

namespace tally {

inline u8 ByteAt(ByteView body, std::size_t at) { return at < body.size() ? body[at] : u8{0}; }
inline u16 WordAt(ByteView body, std::size_t at) {
    return at + 2 <= body.size() ? ReadU16(body.data() + at) : static_cast<u16>(ByteAt(body, at));
}
inline u32 LongAt(ByteView body, std::size_t at) {
    return at + 4 <= body.size() ? ReadU32(body.data() + at)
                                 : u32{WordAt(body, at)} | u32{WordAt(body, at + 2)} << 16;
}
inline double DoubleAt(ByteView body, std::size_t at) {
    return std::bit_cast<double>(u64{LongAt(body, at)} | u64{LongAt(body, at + 4)} << 32);
}
// The part of a body from an offset on; empty behind the end.
inline ByteView From(ByteView body, std::size_t at) { return at < body.size() ? body.subspan(at) : ByteView(); }
inline ByteView Part(ByteView body, std::size_t at, std::size_t count) {
    const ByteView rest = From(body, at);
    return rest.first(count < rest.size() ? count : rest.size());
}

}  // namespace tally
