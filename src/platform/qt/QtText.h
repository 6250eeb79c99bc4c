#pragma once
// Text between the two worlds. Both hold UTF-16, so that nothing is converted.

#include <QString>

#include "base/WideText.h"

namespace tally {

inline QString ToQString(WideView text) {
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}
// Without a copy: the characters must outlive the result.
inline QString BorrowQString(WideView text) {
    return QString::fromRawData(reinterpret_cast<const QChar*>(text.data()),
                                static_cast<qsizetype>(text.size()));
}
// Valid while `text` is.
inline WideView ViewOf(const QString& text) {
    return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

}  // namespace tally
