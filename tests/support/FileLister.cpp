#include "support/FileLister.h"

#include <algorithm>
#include <cctype>
#include <set>

namespace tally {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Container {
    const Bytes& file;
    std::size_t sector = 512;
    std::vector<std::uint32_t> fat, miniFat;
    Bytes mini, directory;
};

std::uint32_t U16(const Bytes& b, std::size_t at) { return at + 2 <= b.size() ? b[at] | b[at + 1] << 8 : 0u; }
std::uint32_t U32(const Bytes& b, std::size_t at) { return U16(b, at) | U16(b, at + 2) << 16; }

Bytes SectorBytes(const Container& c, std::uint32_t n) {
    Bytes out(c.sector, 0);
    const std::size_t at = (std::size_t{n} + 1) * c.sector;
    if (at < c.file.size())
        std::copy_n(c.file.begin() + static_cast<std::ptrdiff_t>(at), std::min(c.sector, c.file.size() - at),
                    out.begin());
    return out;
}

void AppendTable(const Container& c, std::uint32_t n, std::vector<std::uint32_t>& table) {
    const Bytes body = SectorBytes(c, n);
    for (std::size_t i = 0; i < c.sector; i += 4) table.push_back(U32(body, i));
}

Bytes Chain(const Container& c, std::uint32_t n, const std::vector<std::uint32_t>& table, bool small) {
    Bytes out;
    std::set<std::uint32_t> seen;
    while (n < table.size() && seen.insert(n).second) {
        if (small) {
            const std::size_t at = std::size_t{n} * 64;
            for (std::size_t i = at; i < at + 64 && i < c.mini.size(); ++i) out.push_back(c.mini[i]);
        } else {
            const Bytes body = SectorBytes(c, n);
            out.insert(out.end(), body.begin(), body.end());
        }
        n = table[n];
    }
    return out;
}

void ReadTables(Container& c) {
    for (std::size_t i = 0; i < 109; ++i) {
        const std::uint32_t n = U32(c.file, 76 + 4 * i);
        if (n < 0xFFFFFFF0) AppendTable(c, n, c.fat);
    }
    std::uint32_t difat = U32(c.file, 68);
    for (std::size_t steps = 0; difat < 0xFFFFFFF0 && steps < 10000; ++steps) {
        const Bytes body = SectorBytes(c, difat);
        for (std::size_t i = 0; i + 4 < c.sector; i += 4)
            if (U32(body, i) < 0xFFFFFFF0) AppendTable(c, U32(body, i), c.fat);
        difat = U32(body, c.sector - 4);
    }
    c.directory = Chain(c, U32(c.file, 48), c.fat, false);
    const Bytes miniTable = Chain(c, U32(c.file, 60), c.fat, false);
    for (std::size_t i = 0; i + 4 <= miniTable.size(); i += 4) c.miniFat.push_back(U32(miniTable, i));
    c.mini = Chain(c, U32(c.directory, 116), c.fat, false);
}

std::string NameOf(const Bytes& directory, std::size_t at) {
    std::string out;
    for (std::size_t i = 0; i + 2 < U16(directory, at + 64) && i < 64; i += 2)
        out += static_cast<char>(U16(directory, at + i) < 128 ? U16(directory, at + i) : '?');
    return out;
}

void Walk(const Container& c, std::uint32_t entry, const std::string& prefix, std::set<std::uint32_t>& seen,
          ListedFile& out) {
    const std::size_t at = std::size_t{entry} * 128;
    if (at + 128 > c.directory.size() || !seen.insert(entry).second) return;
    Walk(c, U32(c.directory, at + 68), prefix, seen, out);
    const std::string path = prefix + "/" + NameOf(c.directory, at);
    const std::uint32_t size = U32(c.directory, at + 120);
    if (c.directory[at + 66] == 2) {
        const bool small = size < 4096;
        Bytes bytes = Chain(c, U32(c.directory, at + 116), small ? c.miniFat : c.fat, small);
        bytes.resize(size);
        out.entries[path] = std::move(bytes);
    } else if (c.directory[at + 66] == 1) {
        const auto first = c.directory.begin() + static_cast<std::ptrdiff_t>(at);
        out.entries[path + "/"] = Bytes(first + 80, first + 96);
        Walk(c, U32(c.directory, at + 76), path, seen, out);
    }
    Walk(c, U32(c.directory, at + 72), prefix, seen, out);
}

void ListRecords(const Bytes& stream, ListedFile& out) {
    unsigned depth = 0;
    for (std::size_t at = 0; at + 4 <= stream.size();) {
        ListedRecord record;
        record.id = U16(stream, at);
        const std::size_t length = U16(stream, at + 2);
        const std::size_t end = std::min(at + 4 + length, stream.size());
        record.body.assign(stream.begin() + static_cast<std::ptrdiff_t>(at + 4),
                           stream.begin() + static_cast<std::ptrdiff_t>(end));
        at += 4 + length;
        if (record.id == 2057 && depth++ == 0) {
            if (out.substreams.empty()) out.form = U16(record.body, 0) == 0x600 ? 8 : 7;
            out.substreams.push_back({U16(record.body, 2), {}});
            continue;
        }
        if (!depth) continue;
        if (record.id == 10 && --depth == 0) continue;
        record.depth = depth - 1 + (record.id == 10);
        out.substreams.back().records.push_back(std::move(record));
    }
}

bool SameName(const std::string& path, const char* name) {
    const std::string wanted = std::string("/") + name;
    return path.size() == wanted.size() &&
           std::equal(path.begin(), path.end(), wanted.begin(),
                      [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
}

}  // namespace

unsigned ListedSubstream::Count(unsigned id) const { return static_cast<unsigned>(All(id).size()); }

std::vector<ListedRecord> ListedSubstream::All(unsigned id) const {
    std::vector<ListedRecord> out;
    for (const ListedRecord& record : records)
        if (record.id == id) out.push_back(record);
    return out;
}

ListedFile ListFile(const Bytes& bytes) {
    ListedFile out;
    if (bytes.size() < 1024 || bytes[0] != 0xD0 || bytes[1] != 0xCF) return out;
    Container c{bytes, 512, {}, {}, {}, {}};
    ReadTables(c);
    if (c.directory.size() < 128) return out;
    std::set<std::uint32_t> seen = {0};
    Walk(c, U32(c.directory, 76), "", seen, out);
    out.entries["/"] = Bytes(c.directory.begin() + 80, c.directory.begin() + 96);
    for (const char* name : {"Workbook", "Book"}) {
        for (const auto& [path, stream] : out.entries) {
            if (!out.good && SameName(path, name)) {
                ListRecords(stream, out);
                out.good = true;
            }
        }
    }
    return out;
}

}  // namespace tally
