#pragma once
// What a compound file and its workbook stream hold, found without the program's own readers.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tally {

struct ListedRecord {
    unsigned id = 0;
    unsigned depth = 0;  // of the substreams that it lies in, 0 for the sheet's own
    std::vector<std::uint8_t> body;
    bool operator==(const ListedRecord&) const = default;
};

struct ListedSubstream {
    unsigned type = 0;
    std::vector<ListedRecord> records;
    unsigned Count(unsigned id) const;
    std::vector<ListedRecord> All(unsigned id) const;
};

struct ListedFile {
    bool good = false;
    unsigned form = 0;  // 8 or 7
    // By path: "/name" is a stream with its bytes, "/name/" a storage with its class id, "/" the root's.
    std::map<std::string, std::vector<std::uint8_t>> entries;
    std::vector<ListedSubstream> substreams;
};

ListedFile ListFile(const std::vector<std::uint8_t>& bytes);

}  // namespace tally
