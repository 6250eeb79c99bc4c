#include "fileio/GoldenFolder.h"

namespace tally {

const char* GoldenFolder() { return TALLYMAN_GOLDEN; }

}  // namespace tally
