// The rows of PlatformTable: files, code pages and regions are those of the system, the rest the toolkit's.

#include <QDateTime>

#include "base/Text.h"
#include "platform/posix/CodePages.h"
#include "platform/posix/PosixFiles.h"
#include "platform/posix/Regions.h"
#include "platform/posix/SystemFacts.h"
#include "platform/qt/QtFonts.h"
#include "platform/qt/QtFrame.h"

namespace tally {
namespace {

constexpr u32 UTF8_CODE_PAGE = 65001;

char regionTag[36] = "";

const Region& UserRegion() { return FindRegion(regionTag, nullptr); }

u32 QtGetACP() { return UserRegion().ansiCodePage; }
u32 QtTextCodePage() { return UTF8_CODE_PAGE; }
bool QtLocaleInfo(i32 item, WideText& out) { return RegionItem(UserRegion(), item, out); }
const char* QtLocaleTag() { return UserRegion().tag; }

void QtLocalTime(SystemTime& out) {
    const QDateTime now = QDateTime::currentDateTime();
    const QDate date = now.date();
    const QTime time = now.time();
    out = {static_cast<u16>(date.year()), static_cast<u16>(date.month()),  static_cast<u16>(date.day()),
           static_cast<u16>(time.hour()), static_cast<u16>(time.minute()), static_cast<u16>(time.second()),
           static_cast<u16>(time.msec())};
}

u32 QtClockSeconds() { return static_cast<u32>(QDateTime::currentSecsSinceEpoch()); }
TrustState QtTrust(ForeignUse) { return TRUST_ASK; }

const PlatformTable platformTable = {
    .readFile = PosixReadFile,
    .fileExists = PosixFileExists,
    .createFile = PosixCreateFile,
    .writeFile = PosixWriteFile,
    .patchFile = PosixPatchFile,
    .closeFile = PosixCloseFile,
    .abandonFile = PosixAbandonFile,
    .programDirectory = PosixProgramDirectory,
    .getACP = QtGetACP,
    .getTextCodePage = QtTextCodePage,
    .isValidCodePage = IcuIsValidCodePage,
    .isDBCSLeadByteEx = IcuIsLeadByte,
    .multiByteToWideChar = IcuToWide,
    .wideCharToMultiByte = IcuToBytes,
    .getLocaleInfo = QtLocaleInfo,
    .localeTag = QtLocaleTag,
    .getLocalTime = QtLocalTime,
    .clockSeconds = QtClockSeconds,
    .messageBox = QtMessageBox,
    .getScreenMetrics = QtScreenMetrics,
    .findFontFace = QtFindFontFace,
    .trustState = QtTrust,
    .globalMemoryStatus = PosixMemoryStatus,
    .getVersion = PosixVersion,
    .currentDirectory = PosixCurrentDirectory,
    .readPlainFile = PosixReadPlainFile,
    .fileStamp = PosixFileStamp,
};

}  // namespace

void ReadUserRegion() {
    RegionTagFromEnvironment(regionTag);
    SetCollationLocale(UserRegion().tag);
}

const PlatformTable& QtPlatform() { return platformTable; }

}  // namespace tally
