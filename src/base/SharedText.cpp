#include "base/SharedText.h"

#include <cstddef>
#include <cstring>

#include "base/Memory.h"

namespace tally {
namespace {

TextBlock emptyBlock = {1, 0, 0, {0}};

std::size_t BlockBytes(std::size_t length) {
    return offsetof(TextBlock, characters) + (length + 1) * sizeof(char16_t);
}

constexpr std::size_t MAX_TEXT = 0xFFFFFF;
constexpr std::size_t MAX_TAIL = 0xFFFFFF;
constexpr std::size_t SHORT_TEXT = 255;  // longer ones are counted

u64 longCharacters = 0;

void CountLong(std::size_t before, std::size_t after) {
    if (before > SHORT_TEXT) longCharacters -= before;
    if (after > SHORT_TEXT) longCharacters += after;
}

}  // namespace

TextBlock* EmptyText() { return RetainText(&emptyBlock); }

TextBlock* MakeTextRoom(std::size_t length) { return MakeTextRoom(length, 0); }

TextBlock* MakeTextRoom(std::size_t length, std::size_t tail) {
    if (length > MAX_TEXT || tail > MAX_TAIL) return nullptr;
    auto* block = static_cast<TextBlock*>(AllocateBytes(BlockBytes(length) + tail));
    if (!block) return nullptr;
    block->users = 1;
    block->length = static_cast<u32>(length);
    block->tail = static_cast<u32>(tail);
    block->characters[length] = 0;
    CountLong(0, length);
    return block;
}

std::span<const u8> TextTail(const TextBlock* block) {
    if (!block || !block->tail) return {};
    return {reinterpret_cast<const u8*>(block->characters + block->length + 1), block->tail};
}

u8* TextTailBytes(TextBlock* block) { return reinterpret_cast<u8*>(block->characters + block->length + 1); }

u64 LongTextCharacters() { return longCharacters; }

TextBlock* MakeText(WideView text) {
    if (text.empty()) return EmptyText();
    TextBlock* block = MakeTextRoom(text.size());
    if (block) std::memcpy(block->characters, text.data(), text.size() * sizeof(char16_t));
    return block;
}

void ReleaseText(TextBlock* block) {
    if (!block || block == &emptyBlock) return;
    if (--block->users) return;
    CountLong(block->length, 0);
    ReleaseBytes(block);
}

void ShortenText(TextBlock& block, std::size_t length) {
    CountLong(block.length, length);
    block.length = static_cast<u32>(length);
    block.tail = 0;  // it stood behind the old end
    block.characters[length] = 0;
}

TextBlock* ExtendText(TextBlock* block, WideView tail) {
    if (tail.empty()) return block;
    const std::size_t length = std::size_t{block->length} + tail.size();
    if (length > MAX_TEXT) {
        ReleaseText(block);
        return nullptr;
    }
    const bool overlaps = tail.data() >= block->characters && tail.data() <= block->characters + block->length;
    if (block->users == 1 && block != &emptyBlock && !overlaps) {
        auto* grown = static_cast<TextBlock*>(ReallocateBytes(block, BlockBytes(length)));
        if (!grown) {
            ReleaseText(block);
            return nullptr;
        }
        CountLong(grown->length, length);
        std::memcpy(grown->characters + grown->length, tail.data(), tail.size() * sizeof(char16_t));
        grown->length = static_cast<u32>(length);
        grown->tail = 0;
        grown->characters[length] = 0;
        return grown;
    }
    TextBlock* joined = MakeTextRoom(length);
    if (joined) {
        std::memcpy(joined->characters, block->characters, block->length * sizeof(char16_t));
        std::memcpy(joined->characters + block->length, tail.data(), tail.size() * sizeof(char16_t));
    }
    ReleaseText(block);
    return joined;
}

}  // namespace tally
