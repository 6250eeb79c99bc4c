#pragma once
// The value stack of one run: a small room of its own, memory beyond it.

#include "base/Array.h"
#include "model/Value.h"

namespace tally {

class ValueStack {
  public:
    ValueStack() = default;
    ~ValueStack() {
        while (count_) FreeValue(items_[--count_]);
        if (items_ != Room()) ReleaseBytes(items_);
    }
    ValueStack(const ValueStack&) = delete;
    ValueStack& operator=(const ValueStack&) = delete;

    u32 Count() const { return count_; }
    Value& Top() { return items_[count_ - 1]; }
    Value& At(u32 index) { return items_[index]; }
    // Takes the value over; it is released when memory fails.
    void Push(Value value) {
        if (count_ == capacity_ && !Grow()) {
            FreeValue(value);
            failed_ = true;
            return;
        }
        items_[count_++] = value;
    }
    // The top without its owner: the caller takes it over. Empty when nothing is there.
    Value Pop() { return count_ ? items_[--count_] : Value(); }
    bool Failed() const { return failed_; }

  private:
    bool Grow() {
        const u32 capacity = capacity_ * 2;
        Value* grown = static_cast<Value*>(AllocateBytes(capacity * sizeof(Value)));
        if (!grown) return false;
        std::memcpy(static_cast<void*>(grown), static_cast<const void*>(items_), count_ * sizeof(Value));
        if (items_ != Room()) ReleaseBytes(items_);
        items_ = grown;
        capacity_ = capacity;
        return true;
    }

    Value* Room() { return reinterpret_cast<Value*>(room_); }

    // Not made before it is used: most runs need two or three places.
    alignas(Value) unsigned char room_[16 * sizeof(Value)];
    Value* items_ = Room();
    u32 count_ = 0;
    u32 capacity_ = 16;
    bool failed_ = false;
};

}  // namespace tally
