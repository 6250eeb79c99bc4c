#include "Common.h"
#include "fileio/compound/CompoundTree.h"

// The input is a record stream; the container around it is sound.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    static constexpr u8 globals[] = {0x09, 0x08, 0x08, 0x00, 0x00, 0x06, 0x05, 0x00, 0, 0, 0, 0};
    Array<u8> stream, file;
    if (size > 1 << 17 || !stream.AppendMany(globals, sizeof globals) || !stream.AppendMany(data, size))
        return 0;
    if (BuildCompoundFile(stream.Span(), 8, file)) OpenInput(file.Data(), file.Count(), u"a.xls");
    return 0;
}
