#include "support/BiffBuilder.h"

#include <gtest/gtest.h>

#include <bit>

namespace tally {

std::vector<u8> DoubleBytes(double value) {
    const u64 bits = std::bit_cast<u64>(value);
    std::vector<u8> out;
    for (int i = 0; i < 8; ++i) out.push_back(static_cast<u8>(bits >> (8 * i)));
    return out;
}

BiffBuilder& BiffBuilder::Record(u16 id, std::initializer_list<Item> items) {
    std::vector<u8> body;
    for (const Item& item : items) {
        for (int i = 0; i < item.bytes; ++i)
            body.push_back(i < 8 ? static_cast<u8>(item.value >> (8 * i)) : u8{0});
    }
    return Raw(id, body);
}

BiffBuilder& BiffBuilder::Raw(u16 id, const std::vector<u8>& body) {
    WriteRecordHeader(writer, id, body.size());
    WriteBytes(writer, body.data(), body.size());
    return *this;
}

BiffBuilder& BiffBuilder::Bof(u16 type) {
    return Record(2057, {{version == 8 ? 0x0600u : 0x0500u, 2}, {type, 2}, {0, 4}, {0, version == 8 ? 8 : 0}});
}

BiffBuilder& BiffBuilder::Eof() {
    WriteEof(writer);
    return *this;
}

BiffBuilder& BiffBuilder::Globals(const std::vector<std::string>& sheets,
                                  const std::function<void(BiffBuilder&)>& more) {
    Bof(5);
    if (more) more(*this);
    for (const std::string& name : sheets) {
        std::vector<u8> body = {0, 0, 0, 0, 0, 0, static_cast<u8>(name.size())};
        if (version == 8) body.push_back(0);
        body.insert(body.end(), name.begin(), name.end());
        Raw(133, body);
    }
    return Eof();
}

BiffBuilder& BiffBuilder::Number(u32 row, u32 column, double value, u32 format) {
    return Record(515, {{row, 2}, {column, 2}, {format, 2}, {std::bit_cast<u64>(value), 8}});
}

BiffBuilder& BiffBuilder::Label(u32 row, u32 column, const std::string& text) {
    std::vector<u8> body = {
        static_cast<u8>(row),         static_cast<u8>(row >> 8),        static_cast<u8>(column), 0, 0, 0,
        static_cast<u8>(text.size()), static_cast<u8>(text.size() >> 8)};
    if (version == 8) body.push_back(0);
    body.insert(body.end(), text.begin(), text.end());
    return Raw(516, body);
}

BiffBuilder& BiffBuilder::Formula(u32 row, u32 column, const std::vector<u8>& tokens, double value, u32 flags) {
    std::vector<u8> body = {static_cast<u8>(row), static_cast<u8>(row >> 8), static_cast<u8>(column), 0, 0, 0};
    for (u8 byte : DoubleBytes(value)) body.push_back(byte);
    for (u8 byte : {static_cast<u8>(flags), u8{0}, u8{0}, u8{0}, u8{0}, u8{0}}) body.push_back(byte);
    body.push_back(static_cast<u8>(tokens.size()));
    body.push_back(static_cast<u8>(tokens.size() >> 8));
    body.insert(body.end(), tokens.begin(), tokens.end());
    return Raw(6, body);
}

std::vector<u8> BiffBuilder::Stream() const { return {writer.stream.begin(), writer.stream.end()}; }

std::vector<u8> BiffBuilder::File() const {
    Array<u8> out;
    EXPECT_TRUE(BuildCompoundFile(writer.stream.Span(), version, out));
    return {out.begin(), out.end()};
}

}  // namespace tally
