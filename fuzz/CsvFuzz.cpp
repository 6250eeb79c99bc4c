#include "Common.h"

extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    if (size <= 1 << 16) tally::OpenInput(data, size, u"a.csv");
    return 0;
}
