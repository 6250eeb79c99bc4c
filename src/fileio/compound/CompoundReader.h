#pragma once
// Reading one stream out of an OLE compound file, as published: 512-byte sectors, mini stream below
// 4,096 bytes, FAT and DIFAT chains. Every walk has a bound, so a chain that bites its tail ends.

#include "base/Array.h"
#include "base/Base.h"

namespace tally {

enum StreamResult : u8 { STREAM_READ, STREAM_MISSING, STREAM_NO_MEMORY };

// The bytes of the root's stream with that name, in any case. A stream of a storage inside the root, such as
// that of an embedded book, is not taken for it. A chain that ends early gives the bytes
// up to there. A stream that lies in one piece is a part of `file`, any other is put together in `pieces`;
// `stream` is good as long as both.
[[nodiscard]] StreamResult ReadCompoundStream(ByteView file, WideView name, Array<u8>& pieces,
                                              ByteView& stream);

}  // namespace tally
