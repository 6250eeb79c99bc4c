#include "fileio/biff/BiffReader.h"

#include <bit>

#include "base/Platform.h"
#include "fileio/biff/FormulaRecords.h"

namespace tally {

bool NextRecord(BiffStream& stream, BiffRecord& record) {
    const ByteView rest = From(stream.bytes, stream.position);
    if (rest.size() < 4) return false;
    record.id = WordAt(rest, 0);
    const std::size_t length = WordAt(rest, 2);
    record.body = Part(rest, 4, length);
    stream.position += 4 + length;
    return true;
}

u16 PeekRecordId(const BiffStream& stream) { return WordAt(From(stream.bytes, stream.position), 0); }

bool ReadWideCharacters(ByteView bytes, WideText& out) {
    out.Truncate(0);
    if (!out.Reserve(bytes.size() / 2)) return false;
    for (std::size_t i = 0; i + 2 <= bytes.size(); i += 2) {
        const u16 c = ReadU16(bytes.data() + i);
        if (!c) break;
        if (!out.Append(static_cast<char16_t>(c))) return false;
    }
    return true;
}

std::size_t ReadBiffString(ByteView bytes, u8 biffVersion, u16 codePage, std::size_t length, WideText& out) {
    out.Truncate(0);
    u8 option = 0;
    std::size_t header = 0;
    if (biffVersion == 8) {
        option = ByteAt(bytes, 0);
        header = 1;
    }
    if (biffVersion == 8 && option == 1) {
        return ReadWideCharacters(Part(bytes, header, length * 2), out) ? length * 2 + header : STRING_FAILED;
    }
    const ByteView narrow = Part(bytes, header, length);
    if (biffVersion == 8 && option == 0) {
        for (u8 byte : narrow) {
            if (!byte) break;
            if (!out.Append(static_cast<char16_t>(byte))) return STRING_FAILED;
        }
        return length + header;
    }
    std::size_t used = 0;
    while (used < narrow.size() && narrow[used]) ++used;
    // Bytes that the page cannot convert are left out; only a lack of memory is a failure.
    const u64 failures = FailedAllocations();
    if (!Platform().multiByteToWideChar(codePage, narrow.first(used), out) && FailedAllocations() != failures) {
        return STRING_FAILED;
    }
    return length + header;
}

double DecodeRk(u32 rk) {
    double number = 0;
    if (rk & RK_WHOLE) {
        number = static_cast<i32>(rk) >> 2;
    } else {
        number = std::bit_cast<double>(u64{rk & 0xFFFFFFFCu} << 32);
    }
    // A division gives back the number that was divided into the hundredths to the bit.
    return rk & RK_HUNDREDTHS ? number / 100 : number;
}

}  // namespace tally
