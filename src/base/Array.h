#pragma once
// A growing, owned, contiguous list. It moves but does not copy; every growth can fail and leaves
// the list as it was. Elements are relocated bytewise, so they must not point into themselves.

#include <cstring>
#include <type_traits>
#include <utility>

#include "base/Memory.h"

namespace tally {

template <typename T>
class Array {
  public:
    Array() = default;
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    Array(Array&& other) noexcept
        : items_(std::exchange(other.items_, nullptr)),
          count_(std::exchange(other.count_, 0u)),
          capacity_(std::exchange(other.capacity_, 0u)) {}
    Array& operator=(Array&& other) noexcept {
        if (this != &other) {
            Clear();
            items_ = std::exchange(other.items_, nullptr);
            count_ = std::exchange(other.count_, 0u);
            capacity_ = std::exchange(other.capacity_, 0u);
        }
        return *this;
    }
    ~Array() { Clear(); }

    u32 Count() const { return count_; }
    u32 Capacity() const { return capacity_; }
    bool IsEmpty() const { return count_ == 0; }
    T* Data() { return items_; }
    const T* Data() const { return items_; }
    T& operator[](std::size_t index) { return items_[index]; }
    const T& operator[](std::size_t index) const { return items_[index]; }
    T& Last() { return items_[count_ - 1]; }
    const T& Last() const { return items_[count_ - 1]; }
    T* begin() { return items_; }
    T* end() { return items_ + count_; }
    const T* begin() const { return items_; }
    const T* end() const { return items_ + count_; }
    std::span<T> Span() { return {items_, count_}; }
    std::span<const T> Span() const { return {items_, count_}; }

    // Room for at least `capacity` elements.
    [[nodiscard]] bool Reserve(std::size_t capacity) {
        if (capacity <= capacity_) return true;
        std::size_t bytes = 0;
        if (capacity > 0xFFFFFFF0u || !MultiplySizes(capacity, sizeof(T), bytes)) return false;
        void* moved = ReallocateBytes(items_, bytes);
        if (!moved) return false;
        items_ = static_cast<T*>(moved);
        capacity_ = static_cast<u32>(capacity);
        return true;
    }

    [[nodiscard]] bool Append(T item) {
        if (!GrowByOne()) return false;
        new (static_cast<void*>(items_ + count_)) T(std::move(item));
        ++count_;
        return true;
    }

    // A new default element at the end; null when memory fails.
    [[nodiscard]] T* AppendDefault() {
        if (!GrowByOne()) return nullptr;
        T* place = new (static_cast<void*>(items_ + count_)) T();
        ++count_;
        return place;
    }

    // Appends `count` elements by bytes.
    [[nodiscard]] bool AppendMany(const T* source, std::size_t count) requires std::is_trivially_copyable_v<T> {
        std::size_t total = 0;
        if (!AddSizes(count_, count, total)) return false;
        if (total > capacity_ && !Reserve(GrownCapacity(total))) return false;
        if (count) std::memcpy(static_cast<void*>(items_ + count_), source, count * sizeof(T));
        count_ = static_cast<u32>(total);
        return true;
    }

    // Room for `count` more elements that count from now on and hold whatever stands in memory, for the
    // caller to fill in; null when memory fails. Never null for a count of 0 on an array that has memory.
    [[nodiscard]] T* AppendRaw(std::size_t count) requires std::is_trivially_copyable_v<T> {
        std::size_t total = 0;
        if (!AddSizes(count_, count, total)) return nullptr;
        if ((total > capacity_ || !items_) && !Reserve(GrownCapacity(total))) return nullptr;
        T* const place = items_ + count_;
        count_ = static_cast<u32>(total);
        return place;
    }

    [[nodiscard]] bool InsertAt(std::size_t index, T item) {
        if (!GrowByOne()) return false;
        std::memmove(static_cast<void*>(items_ + index + 1), static_cast<const void*>(items_ + index),
                     (count_ - index) * sizeof(T));
        new (static_cast<void*>(items_ + index)) T(std::move(item));
        ++count_;
        return true;
    }

    void RemoveAt(std::size_t index) {
        items_[index].~T();
        std::memmove(static_cast<void*>(items_ + index), static_cast<const void*>(items_ + index + 1),
                     (count_ - index - 1) * sizeof(T));
        --count_;
    }

    void RemoveLast() {
        --count_;
        items_[count_].~T();
    }

    // Grows with default elements or drops the tail.
    [[nodiscard]] bool Resize(std::size_t count) {
        if (count > capacity_ && !Reserve(count)) return false;
        while (count_ > count) RemoveLast();
        while (count_ < count) {
            new (static_cast<void*>(items_ + count_)) T();
            ++count_;
        }
        return true;
    }

    // A new count whose new elements hold whatever stands in memory, for the caller to fill in.
    [[nodiscard]] bool ResizeRaw(std::size_t count) requires std::is_trivially_copyable_v<T> {
        if (count > capacity_ && !Reserve(count)) return false;
        count_ = static_cast<u32>(count);
        return true;
    }

    // Drops the elements and keeps the memory.
    void Truncate(std::size_t count) {
        while (count_ > count) RemoveLast();
    }

    // Drops the elements and the memory.
    void Clear() {
        Truncate(0);
        ReleaseBytes(items_);
        items_ = nullptr;
        capacity_ = 0;
    }

  private:
    static std::size_t GrownCapacity(std::size_t needed) {
        const std::size_t grown = needed + needed / 2;
        return grown < 8 ? 8 : grown;
    }
    [[nodiscard]] bool GrowByOne() {
        return count_ < capacity_ || Reserve(GrownCapacity(std::size_t{count_} + 1));
    }

    T* items_ = nullptr;
    u32 count_ = 0;
    u32 capacity_ = 0;
};

}  // namespace tally
