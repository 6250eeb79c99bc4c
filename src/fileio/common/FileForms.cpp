#include "fileio/common/FileForms.h"

#include <bit>

#include "base/MessageTable.h"
#include "base/Text.h"

namespace tally {
namespace {

constexpr WideView extensions[] = {u"csv", u"pxl", u"xls", u"xlt", u"bmp", u"txt", u"pxt"};

}  // namespace

FileType FileTypeOf(WideView path) {
    if (path.size() < 5 || path[path.size() - 4] != u'.') return FILE_UNKNOWN;
    const WideView extension = path.substr(path.size() - 3);
    for (i32 i = 0; i < FILE_UNKNOWN; ++i) {
        const WideView known = extensions[i];
        if (AsciiLower(extension[0]) == known[0] && AsciiLower(extension[1]) == known[1] &&
            AsciiLower(extension[2]) == known[2]) {
            return static_cast<FileType>(i);
        }
    }
    return FILE_UNKNOWN;
}

WideView SaveLossText(u32 loss) {
    const auto index = static_cast<u32>(std::countr_zero(loss));
    return index < LOSS_COUNT ? Message(static_cast<u16>(MSG_LOSS_FIRST + index)) : WideView();
}

}  // namespace tally
