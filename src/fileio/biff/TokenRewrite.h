#pragma once
// Building a token string from another one whose tokens have other sizes. Lengths and jumps that span
// tokens are put in as patches and filled in once every token has its new place.

#include "base/Array.h"
#include "formula/TokenWalk.h"

namespace tally {

// A length or jump that has to follow the growth of what lies in its span.
struct SpanPatch {
    u32 at;       // of the u16 in the new tokens
    u32 newBase;  // the value counts from here
    u32 oldTarget;
    u32 less;  // subtracted from the new distance
};

struct TokenRewrite {
    ByteView old;
    Array<u8> out;
    Array<u32> places;  // new place of each old byte, one more for the end
    Array<SpanPatch> patches;
    bool failed = false;  // memory
};

// Empties the rewrite for another token string and reserves room. Memory of the last one is kept.
void BeginRewrite(TokenRewrite& w, ByteView old);
void PutByte(TokenRewrite& w, u32 byte);
void PutWord(TokenRewrite& w, u32 word);
void PutBytes(TokenRewrite& w, ByteView bytes);
void PutZeros(TokenRewrite& w, u32 count);
// A distance from `newBase` to where the old offset comes to lie.
void PutSpan(TokenRewrite& w, u32 newBase, u32 oldTarget, u32 less);
// The next `oldSize` bytes of the old string went to `newStart` and behind.
void NotePlaces(TokenRewrite& w, u32 newStart, u32 oldSize);
// Notes the end and fills in the spans.
void EndRewrite(TokenRewrite& w);

}  // namespace tally
