#pragma once
// Which installed face stands in for one that a book names.

#include <QStringList>

#include "base/Base.h"

namespace tally {

// The faces to look for, the wished one first: it, what has the same widths, what is of the same family, and a
// face with Chinese, Japanese and Korean characters for those that the first one lacks. Only installed ones,
// but for the first when none of them is.
QStringList FacesFor(WideView faceName);
// What stands in for a face of that name when it is not installed, whether or not that is; empty when only the
// family can tell. For tests.
QString CompatibleFace(WideView faceName);

}  // namespace tally
