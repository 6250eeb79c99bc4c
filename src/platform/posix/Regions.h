#pragma once
// The regional settings that the program knows, as published in the Unicode locale data and in the
// forms that the users of desktop systems are used to.

#include "base/MessageTable.h"
#include "base/Platform.h"

namespace tally {

struct Region {
    const char* tag;   // such as "de-DE"
    u32 ansiCodePage;  // of narrow text in books
    WideView decimal, thousands, list;
    WideView currency;
    i32 currencyDigits;
    i32 negativeCurrency;  // 0 "($1.1)" ... 15 "(1.1 $)"
    WideView dateSeparator, timeSeparator;
    WideView shortDate;
    i32 dateOrder;  // 0 month, 1 day, 2 year first
    bool timeLeadingZero;
    WideView am, pm;
    WideView dayNames;  // seven names from Monday on, each ended by "|"
    WideView dayShort;
    WideView monthNames;  // twelve
    WideView monthShort;
};

// The row of a tag: the same tag, else the same language, else en-US. `exact` tells whether the
// language was found.
const Region& FindRegion(std::string_view tag, bool* exact);
// The tag of the environment's language variables: "de_DE.UTF-8" gives "de-DE". Writes at most 35
// characters and a zero.
void RegionTagFromEnvironment(char (&tag)[36]);
// The language that the user reads: TALLYMAN_LANGUAGE as "zh" or "en", else that of the session's messages.
// Only Chinese sessions read Chinese; every other one, and a session that names none, reads English.
Language LanguageFromEnvironment();
// One item of a region as GetLocaleInfo gives it. False for an unknown item.
[[nodiscard]] bool RegionItem(const Region& region, i32 item, WideText& out);

}  // namespace tally
