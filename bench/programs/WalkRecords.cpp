// The least that a conversion of a book can do: its records are walked and its numbers printed, one a line.
// usage: walk_records IN.xls > OUT

#include <charconv>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fileio/biff/BiffReader.h"
#include "fileio/compound/CompoundReader.h"

namespace {

using namespace tally;

struct Output {
    char buffer[1 << 16];
    std::size_t used = 0;
};

void Print(Output& output, double number) {
    if (output.used + 64 > sizeof output.buffer) {
        std::fwrite(output.buffer, 1, output.used, stdout);
        output.used = 0;
    }
    char* const start = output.buffer + output.used;
    char* const end = std::to_chars(start, start + 60, number, std::chars_format::general, 15).ptr;
    *end = '\n';
    output.used += static_cast<std::size_t>(end - start) + 1;
}

void Walk(ByteView bytes, Output& output) {
    BiffStream stream;
    stream.bytes = bytes;
    BiffRecord record;
    while (NextRecord(stream, record)) {
        if (record.id == 0x203) Print(output, DoubleAt(record.body, 6));
        if (record.id == 0x27E) Print(output, DecodeRk(LongAt(record.body, 6)));
        if (record.id != 0xBD) continue;
        for (std::size_t at = 4; at + 8 <= record.body.size(); at += 6)
            Print(output, DecodeRk(LongAt(record.body, at + 2)));
    }
}

}  // namespace

int main(int count, char** arguments) {
    std::FILE* file = count == 2 ? std::fopen(arguments[1], "rb") : nullptr;
    if (!file) return 2;
    std::fseek(file, 0, SEEK_END);
    std::vector<u8> bytes(static_cast<std::size_t>(std::ftell(file)));
    std::rewind(file);
    const std::size_t read = std::fread(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    Array<u8> pieces;
    ByteView stream;
    if (ReadCompoundStream(ByteView(bytes.data(), read), u"Workbook", pieces, stream) != STREAM_READ) return 1;
    static Output output;
    Walk(stream, output);
    std::fwrite(output.buffer, 1, output.used, stdout);
    return 0;
}
