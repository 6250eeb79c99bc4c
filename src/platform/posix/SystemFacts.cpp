#include "platform/posix/SystemFacts.h"

#include <limits.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <charconv>
#include <cstring>

#include "base/Text.h"

namespace tally {

bool PosixMemoryStatus(u64& total, u64& available) {
    const long page = sysconf(_SC_PAGESIZE);
    const long all = sysconf(_SC_PHYS_PAGES);
    const long free = sysconf(_SC_AVPHYS_PAGES);
    if (page <= 0 || all <= 0 || free < 0) return false;
    total = static_cast<u64>(all) * static_cast<u64>(page);
    available = static_cast<u64>(free) * static_cast<u64>(page);
    return true;
}

bool PosixVersion(u32& major, u32& minor) {
    utsname names;
    if (uname(&names) != 0) return false;
    const char* end = names.release + std::strlen(names.release);
    const std::from_chars_result first = std::from_chars(names.release, end, major);
    if (first.ec != std::errc() || first.ptr == end) return false;
    return std::from_chars(first.ptr + 1, end, minor).ec == std::errc();
}

bool PosixCurrentDirectory(WideText& out) {
    char path[PATH_MAX];
    return getcwd(path, sizeof path) && WideFromPath(out, path);
}

}  // namespace tally
