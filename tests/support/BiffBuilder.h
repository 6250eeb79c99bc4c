#pragma once
// Small books in memory, record by record, for the tests of the readers.

#include <functional>
#include <string>
#include <vector>

#include "fileio/biff/BiffWriter.h"
#include "fileio/compound/CompoundTree.h"

namespace tally {

struct BiffBuilder {
    explicit BiffBuilder(u8 version = 8) : version(version) {}

    // A record from numbers: each item is (value, bytes).
    struct Item {
        u64 value;
        int bytes;
    };
    BiffBuilder& Record(u16 id, std::initializer_list<Item> items);
    BiffBuilder& Raw(u16 id, const std::vector<u8>& body);
    BiffBuilder& Bof(u16 type);
    BiffBuilder& Eof();
    // A globals substream that names one worksheet for each name; `more` adds records in front of them.
    BiffBuilder& Globals(const std::vector<std::string>& sheets,
                         const std::function<void(BiffBuilder&)>& more = {});
    BiffBuilder& Number(u32 row, u32 column, double value, u32 format = 0);
    BiffBuilder& Label(u32 row, u32 column, const std::string& text);
    // Tokens with a number as the cached result.
    BiffBuilder& Formula(u32 row, u32 column, const std::vector<u8>& tokens, double value, u32 flags = 0);
    std::vector<u8> Stream() const;
    std::vector<u8> File() const;

    u8 version;
    BiffWriter writer;
};

std::vector<u8> DoubleBytes(double value);

}  // namespace tally
