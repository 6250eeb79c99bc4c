#include "base/WideText.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Memory.h"

namespace tally {

WideText::WideText(WideText&& other) noexcept
    : characters_(std::exchange(other.characters_, nullptr)),
      length_(std::exchange(other.length_, 0u)),
      capacity_(std::exchange(other.capacity_, 0u)) {}

WideText& WideText::operator=(WideText&& other) noexcept {
    if (this != &other) {
        ReleaseBytes(characters_);
        characters_ = std::exchange(other.characters_, nullptr);
        length_ = std::exchange(other.length_, 0u);
        capacity_ = std::exchange(other.capacity_, 0u);
    }
    return *this;
}

WideText::~WideText() { ReleaseBytes(characters_); }

bool WideText::Reserve(std::size_t length) {
    if (length <= capacity_ && characters_) return true;
    if (length > 0x7FFFFFF0u) return false;
    const std::size_t grown = std::max<std::size_t>(length, std::size_t{capacity_} + capacity_ / 2);
    void* moved = ReallocateBytes(characters_, (grown + 1) * sizeof(char16_t));
    if (!moved) return false;
    characters_ = static_cast<char16_t*>(moved);
    capacity_ = static_cast<u32>(grown);
    characters_[length_] = 0;
    return true;
}

bool WideText::Assign(WideView text) {
    // A part of this very text does not make it grow, and may lie over its place.
    if (!Reserve(text.size())) return false;
    if (!text.empty()) std::memmove(characters_, text.data(), text.size() * sizeof(char16_t));
    length_ = static_cast<u32>(text.size());
    characters_[length_] = 0;
    return true;
}

bool WideText::Insert(std::size_t position, WideView text) {
    position = std::min<std::size_t>(position, length_);
    const bool ownPart = characters_ && text.data() >= characters_ && text.data() <= characters_ + length_;
    if (ownPart) {
        WideText copy;
        return copy.Assign(text) && Insert(position, copy.View());
    }
    if (!Reserve(std::size_t{length_} + text.size())) return false;
    std::memmove(characters_ + position + text.size(), characters_ + position,
                 (length_ - position) * sizeof(char16_t));
    if (!text.empty()) std::memcpy(characters_ + position, text.data(), text.size() * sizeof(char16_t));
    length_ += static_cast<u32>(text.size());
    characters_[length_] = 0;
    return true;
}

bool WideText::Append(WideView text) { return Insert(length_, text); }

bool WideText::AppendRun(char16_t character, std::size_t count) {
    if (!Reserve(std::size_t{length_} + count)) return false;
    std::fill_n(characters_ + length_, count, character);
    length_ += static_cast<u32>(count);
    characters_[length_] = 0;
    return true;
}

bool WideText::AppendAscii(std::string_view text) {
    if (!Reserve(std::size_t{length_} + text.size())) return false;
    char16_t* out = characters_ + length_;
    for (char c : text) *out++ = static_cast<unsigned char>(c);
    length_ += static_cast<u32>(text.size());
    characters_[length_] = 0;
    return true;
}

void WideText::Remove(std::size_t position, std::size_t count) {
    if (position >= length_) return;
    count = std::min<std::size_t>(count, length_ - position);
    std::memmove(characters_ + position, characters_ + position + count,
                 (length_ - position - count) * sizeof(char16_t));
    length_ -= static_cast<u32>(count);
    characters_[length_] = 0;
}

void WideText::Truncate(std::size_t length) {
    if (length >= length_) return;
    length_ = static_cast<u32>(length);
    characters_[length_] = 0;
}

void WideText::Clear() {
    ReleaseBytes(characters_);
    characters_ = nullptr;
    length_ = 0;
    capacity_ = 0;
}

}  // namespace tally
