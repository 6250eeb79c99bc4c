#pragma once
// Owned UTF-16 text, always zero-terminated. It moves but does not copy; what can grow can fail.

#include "base/Base.h"

namespace tally {

class WideText {
  public:
    WideText() = default;
    WideText(const WideText&) = delete;
    WideText& operator=(const WideText&) = delete;
    WideText(WideText&& other) noexcept;
    WideText& operator=(WideText&& other) noexcept;
    ~WideText();

    WideView View() const { return {CStr(), length_}; }
    operator WideView() const { return View(); }
    // Never null: an empty text gives a pointer to a zero.
    const char16_t* CStr() const { return characters_ ? characters_ : u""; }
    char16_t* Data() { return characters_; }
    u32 Length() const { return length_; }
    bool IsEmpty() const { return length_ == 0; }
    char16_t operator[](std::size_t index) const { return characters_[index]; }

    [[nodiscard]] bool Assign(WideView text);
    [[nodiscard]] bool Append(WideView text);
    [[nodiscard]] bool Append(char16_t character) {
        if ((length_ >= capacity_ || !characters_) && !Reserve(std::size_t{length_} + 1)) return false;
        characters_[length_++] = character;
        characters_[length_] = 0;
        return true;
    }
    // `count` copies of one character.
    [[nodiscard]] bool AppendRun(char16_t character, std::size_t count);
    [[nodiscard]] bool AppendAscii(std::string_view text);
    [[nodiscard]] bool Insert(std::size_t position, WideView text);
    void Remove(std::size_t position, std::size_t count);
    [[nodiscard]] bool Reserve(std::size_t length);
    // Cuts to at most `length` characters; memory stays.
    void Truncate(std::size_t length);
    // Drops text and memory.
    void Clear();

  private:
    char16_t* characters_ = nullptr;
    u32 length_ = 0;
    u32 capacity_ = 0;  // characters without the terminator
};

}  // namespace tally
