#include "fileio/biff/TokenRewrite.h"

namespace tally {

void BeginRewrite(TokenRewrite& w, ByteView old) {
    w.old = old;
    w.out.Truncate(0);
    w.places.Truncate(0);
    w.patches.Truncate(0);
    w.failed = !w.out.Reserve(old.size() * 2 + 8) || !w.places.Reserve(old.size() + 1);
}

void PutByte(TokenRewrite& w, u32 byte) { w.failed = w.failed || !w.out.Append(static_cast<u8>(byte)); }

void PutWord(TokenRewrite& w, u32 word) {
    PutByte(w, word & 0xFF);
    PutByte(w, word >> 8);
}

void PutBytes(TokenRewrite& w, ByteView bytes) {
    w.failed = w.failed || !w.out.AppendMany(bytes.data(), bytes.size());
}

void PutZeros(TokenRewrite& w, u32 count) {
    for (u32 i = 0; i < count; ++i) PutByte(w, 0);
}

void PutSpan(TokenRewrite& w, u32 newBase, u32 oldTarget, u32 less) {
    w.failed = w.failed || !w.patches.Append({w.out.Count(), newBase, oldTarget, less});
    PutWord(w, 0);
}

void NotePlaces(TokenRewrite& w, u32 newStart, u32 oldSize) {
    for (u32 i = 0; i < oldSize && w.places.Count() < w.old.size() && !w.failed; ++i) {
        w.failed = !w.places.Append(newStart + i);
    }
}

void EndRewrite(TokenRewrite& w) {
    w.failed = w.failed || !w.places.Append(w.out.Count());
    if (w.failed) return;
    for (const SpanPatch& patch : w.patches) {
        const u32 last = w.places.Count() - 1;
        const u32 target = w.places[patch.oldTarget < last ? patch.oldTarget : last];
        const u32 distance = target >= patch.newBase + patch.less ? target - patch.newBase - patch.less : 0;
        PutU16(w.out.Data() + patch.at, distance);
    }
}

}  // namespace tally
