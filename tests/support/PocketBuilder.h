#pragma once
// Files of the pocket form in memory, record by record.

#include <string>
#include <vector>

#include "base/Base.h"

namespace tally {

struct PocketBuilder {
    struct Item {
        u64 value;
        int bytes;
    };
    PocketBuilder& Record(u8 id, std::initializer_list<Item> items);
    PocketBuilder& Raw(const std::vector<u8>& bytes);
    // Characters of two bytes each.
    PocketBuilder& Text(std::u16string_view text);
    PocketBuilder& Bof(u16 type);
    PocketBuilder& Sheet(std::u16string_view name);
    PocketBuilder& Label(u32 row, u32 column, u32 xf, std::u16string_view text);
    PocketBuilder& Number(u32 row, u32 column, u32 xf, double value);
    PocketBuilder& Formula(u32 row, u32 column, const std::vector<u8>& tokens, double value, u32 flags = 0);
    // Globals with one worksheet, and the beginning of that sheet.
    PocketBuilder& OneSheet();
    // An XF of 22 bytes, all fields 0 but those given as (offset, byte).
    struct Field {
        std::size_t at;
        u8 byte;
    };
    PocketBuilder& Xf(std::initializer_list<Field> fields);

    std::vector<u8> bytes;
};

}  // namespace tally
