#include "support/PocketBuilder.h"

#include <bit>

namespace tally {

PocketBuilder& PocketBuilder::Record(u8 id, std::initializer_list<Item> items) {
    bytes.push_back(id);
    for (const Item& item : items) {
        for (int i = 0; i < item.bytes; ++i)
            bytes.push_back(i < 8 ? static_cast<u8>(item.value >> (8 * i)) : u8{0});
    }
    return *this;
}

PocketBuilder& PocketBuilder::Raw(const std::vector<u8>& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
}

PocketBuilder& PocketBuilder::Text(std::u16string_view text) {
    for (char16_t c : text) {
        bytes.push_back(static_cast<u8>(c));
        bytes.push_back(static_cast<u8>(c >> 8));
    }
    return *this;
}

PocketBuilder& PocketBuilder::Bof(u16 type) { return Record(9, {{270, 2}, {type, 2}}); }

PocketBuilder& PocketBuilder::Sheet(std::u16string_view name) {
    return Record(133, {{0, 1}, {name.size(), 1}}).Text(name);
}

PocketBuilder& PocketBuilder::Label(u32 row, u32 column, u32 xf, std::u16string_view text) {
    return Record(4, {{row, 2}, {column, 1}, {xf, 2}, {text.size(), 2}}).Text(text);
}

PocketBuilder& PocketBuilder::Number(u32 row, u32 column, u32 xf, double value) {
    return Record(3, {{row, 2}, {column, 1}, {xf, 2}, {std::bit_cast<u64>(value), 8}});
}

PocketBuilder& PocketBuilder::Formula(u32 row, u32 column, const std::vector<u8>& tokens, double value,
                                      u32 flags) {
    return Record(
               6,
               {{row, 2}, {column, 1}, {0, 2}, {std::bit_cast<u64>(value), 8}, {flags, 1}, {tokens.size(), 2}})
        .Raw(tokens);
}

PocketBuilder& PocketBuilder::OneSheet() { return Bof(5).Sheet(u"Data").Record(10, {}).Bof(16); }

PocketBuilder& PocketBuilder::Xf(std::initializer_list<Field> fields) {
    std::vector<u8> body(22);
    for (const Field& field : fields) body[field.at] = field.byte;
    bytes.push_back(224);
    return Raw(body);
}

}  // namespace tally
