#pragma once
// Immutable UTF-16 text with a count of its users. Cells and values hold these blocks: a copy of a
// value is one more user, never a copy of the characters.

#include "base/Base.h"

namespace tally {

// Behind the characters may stand a tail: what a file says of single characters. It belongs to this very
// block, so that a text made from it has none.
struct TextBlock {
    u32 users;
    u32 length;              // characters without the terminator
    u32 tail;                // bytes behind the terminator
    char16_t characters[1];  // zero-terminated
};

// A block with one user; null when memory fails.
[[nodiscard]] TextBlock* MakeText(WideView text);
// A block of `length` characters for the caller to fill in before it is shared; terminated.
[[nodiscard]] TextBlock* MakeTextRoom(std::size_t length);
// The same with room for a tail.
[[nodiscard]] TextBlock* MakeTextRoom(std::size_t length, std::size_t tail);
// The tail of a block, empty for most; and its bytes to fill in.
std::span<const u8> TextTail(const TextBlock* block);
u8* TextTailBytes(TextBlock* block);
// The block of the empty text; it is never released and memory cannot fail.
TextBlock* EmptyText();

inline TextBlock* RetainText(TextBlock* block) {
    ++block->users;
    return block;
}
void ReleaseText(TextBlock* block);  // null is allowed
// Ends a block that has one user at a character before its end.
void ShortenText(TextBlock& block, std::size_t length);

// Characters in all blocks of more than 255, so that who makes them can bound them.
u64 LongTextCharacters();

inline WideView TextView(const TextBlock* block) {
    return block ? WideView(block->characters, block->length) : WideView();
}

// Appends to a block: in place when the caller is its only user, else into a new one. Takes over
// the caller's use of `block`; null when memory fails (the use is then given back).
[[nodiscard]] TextBlock* ExtendText(TextBlock* block, WideView tail);

}  // namespace tally
