#include "Common.h"
#include "base/Array.h"

// The input is what stands behind the BOF of a bare file; its first byte chooses the form.
extern "C" int LLVMFuzzerTestOneInput(const tally::u8* data, std::size_t size) {
    using namespace tally;
    static constexpr u8 bofs[3][8] = {{0x09, 0x00, 4, 0, 2, 0, 0x10, 0},
                                      {0x09, 0x02, 4, 0, 3, 0, 0x10, 0},
                                      {0x09, 0x04, 4, 0, 4, 0, 0x10, 0}};
    Array<u8> file;
    if (!size || size > 1 << 17) return 0;
    if (file.AppendMany(bofs[data[0] % 3], 8) && file.AppendMany(data + 1, size - 1))
        OpenInput(file.Data(), file.Count(), u"a.xls");
    return 0;
}
