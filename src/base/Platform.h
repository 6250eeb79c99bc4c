#pragma once
// The outside world as the core needs it: one table of operations under the platform's own names.
// The headless platform and the desktop platform each fill one in; nothing else in the core touches
// the system.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

struct SystemTime {
    u16 year, month, day, hour, minute, second, milliseconds;
};

// Items of GetLocaleInfo, with the published numbers.
enum LocaleItem : i32 {
    LOCALE_SLIST = 12,
    LOCALE_SDECIMAL = 14,
    LOCALE_STHOUSAND = 15,
    LOCALE_SCURRENCY = 20,
    LOCALE_ICURRDIGITS = 25,
    LOCALE_INEGCURR = 28,
    LOCALE_SDATE = 29,
    LOCALE_STIME = 30,
    LOCALE_SSHORTDATE = 31,
    LOCALE_IDATE = 33,
    LOCALE_ITLZERO = 37,
    LOCALE_S1159 = 40,
    LOCALE_S2359 = 41,
    LOCALE_SDAYNAME1 = 42,
    LOCALE_SABBREVDAYNAME1 = 49,
    LOCALE_SMONTHNAME1 = 56,
    LOCALE_SABBREVMONTHNAME1 = 68,
};

// Buttons, icons and answers of MessageBoxW, with the published numbers.
enum MessageBoxFlags : u32 {
    MB_OK = 0,
    MB_OKCANCEL = 1,
    MB_YESNOCANCEL = 3,
    MB_YESNO = 4,
    MB_RETRYCANCEL = 5,
    MB_ICONSTOP = 0x10,
    MB_ICONQUESTION = 0x20,
    MB_ICONWARNING = 0x30,
    MB_ICONINFORMATION = 0x40,
    MB_DEFBUTTON2 = 0x100,
};
enum MessageBoxAnswer : i32 { IDOK = 1, IDCANCEL = 2, IDRETRY = 4, IDYES = 6, IDNO = 7 };

// What the screen says about the default font, in pixels.
struct ScreenMetrics {
    i32 fontHeight;       // tmHeight
    i32 internalLeading;  // tmInternalLeading
    i32 digitWidth;       // width of "0"
    i32 logPixelsX;       // pixels per inch
    i32 logPixelsY;
    u8 family;  // pitch and family of the default face
    u8 charSet;
};

// An output file. It is written beside its target and takes the target's place on a good close.
using OutputHandle = i32;  // 0 is none

// How far a file's own wishes may reach outside the program.
enum TrustState : u8 { TRUST_CLOSED = 0, TRUST_ASK = 1, TRUST_OPEN = 2 };

// What a book, and not its user, may want of the world outside.
enum ForeignUse : u8 {
    FOREIGN_LINK = 0,  // a formula reads another file
    FOREIGN_READ = 1,  // a command of a macro does
    FOREIGN_WRITE = 2,
    FOREIGN_DELETE = 3,
    FOREIGN_PROGRAM = 4,
    FOREIGN_LIBRARY = 5,
    FOREIGN_ADDRESS = 6,  // of a network
    FOREIGN_USES = 7,
};

// What of a file changes when another program writes it.
struct FileStamp {
    bool known = false;  // false: nothing else is set
    u64 device = 0, inode = 0, size = 0;
    i64 seconds = 0;  // of the last change of its contents
    u32 nanoseconds = 0;
    bool operator==(const FileStamp&) const = default;
};

enum ReadOutcome : u8 {
    READ_GOOD = 0,
    READ_MISSING,
    READ_FOLDER,
    READ_NOT_PLAIN,  // a pipe, a device, a socket, or no path that can be opened
    READ_NO_ACCESS,
    READ_FAILED,    // while it was read
    READ_NO_ROOM,   // memory is short
    READ_UNWANTED,  // by its first bytes
    READ_REFUSED,   // the trust state is closed
};

struct FileRequest {
    WideView path;
    // A book wants the file and not its user.
    bool foreign = false;
    // Given the first READ_START bytes, or all of a shorter file; false ends the reading there. May be null.
    bool (*mayBe)(ByteView start) = nullptr;
};
constexpr std::size_t READ_START = 512;

struct PlatformTable {
    // ---- files -------------------------------------------------------------------------------
    // The whole of an existing file into `out`. False when it cannot be opened or read.
    bool (*readFile)(WideView path, Array<u8>& out);
    bool (*fileExists)(WideView path);
    // Output files. A failed create gives 0; a failed write or close leaves the old file whole.
    OutputHandle (*createFile)(WideView path);
    bool (*writeFile)(OutputHandle file, const void* bytes, std::size_t count);
    bool (*patchFile)(OutputHandle file, u64 offset, const void* bytes, std::size_t count);
    bool (*closeFile)(OutputHandle file);    // commits; false when the target could not be replaced
    void (*abandonFile)(OutputHandle file);  // forgets what was written
    // Directory of the program, with a separator at its end.
    bool (*programDirectory)(WideText& out);

    // ---- text --------------------------------------------------------------------------------
    u32 (*getACP)();           // code page of narrow text in books, such as 1252
    u32 (*getTextCodePage)();  // code page of delimited text files, such as 65001 for UTF-8
    bool (*isValidCodePage)(u32 codePage);
    bool (*isDBCSLeadByteEx)(u32 codePage, u8 byte);
    // Appends the converted text. False when memory fails or the page is unknown.
    bool (*multiByteToWideChar)(u32 codePage, ByteView bytes, WideText& out);
    bool (*wideCharToMultiByte)(u32 codePage, WideView text, Array<u8>& out);

    // ---- region and time ---------------------------------------------------------------------
    bool (*getLocaleInfo)(i32 item, WideText& out);  // false when the item is unknown
    const char* (*localeTag)();                      // such as "en-US"
    void (*getLocalTime)(SystemTime& out);
    u32 (*clockSeconds)();  // seconds since 1970, for the random seed

    // ---- the user ----------------------------------------------------------------------------
    i32 (*messageBox)(WideView text, WideView title, u32 flags);  // a MessageBoxAnswer
    void (*getScreenMetrics)(ScreenMetrics& out);
    // Family and character set of an installed face; false when there is none of that name.
    bool (*findFontFace)(WideView faceName, u8& family, u8& charSet);
    TrustState (*trustState)(ForeignUse use);

    // ---- the system: null, or false, when it is not known ------------------------------------
    // Bytes of physical memory.
    bool (*globalMemoryStatus)(u64& total, u64& available) = nullptr;
    bool (*getVersion)(u32& major, u32& minor) = nullptr;
    bool (*currentDirectory)(WideText& out) = nullptr;

    // ---- files that are books ----------------------------------------------------------------
    // The whole of a plain file into `out`; nothing else is opened. A foreign request is refused where the
    // trust state of links and of reading is closed. `stamp` may be null.
    ReadOutcome (*readPlainFile)(const FileRequest& request, Array<u8>& out, FileStamp* stamp) = nullptr;
    // The stamp of a plain file as it is now; false when there is none.
    bool (*fileStamp)(WideView path, FileStamp& out) = nullptr;
};

// The platform in force. A test or program sets it before anything else; it is never null.
const PlatformTable& Platform();
void SetPlatform(const PlatformTable* table);

constexpr WideView PROGRAM_NAME = u"Tallyman";

// Whether a path leads to another machine, or could: "\\\\host\\share", "//host/share", "smb://host/share".
bool IsNetworkPath(WideView path);

// A box with the program's name and one OK button.
void ShowMessage(WideView text);
// The same for a text with one "%s".
void ShowMessageWith(WideView pattern, WideView insert);
// While one lives, ShowMessage shows nothing: what is done in the background has no boxes.
struct QuietMessages {
    QuietMessages();
    ~QuietMessages();
    QuietMessages(const QuietMessages&) = delete;
    QuietMessages& operator=(const QuietMessages&) = delete;
};
// Replaces the first "%s" of `pattern`. Control characters of a file's name do not come through as such.
[[nodiscard]] bool FormatWith(WideText& out, WideView pattern, WideView insert);

}  // namespace tally
