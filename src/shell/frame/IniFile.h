#pragma once
// Settings in a text file: sections in brackets, lines "key=value", comments from ";" to the end of the line.

#include "base/Array.h"
#include "base/WideText.h"

namespace tally {

enum IniForm : u8 {
    INI_NARROW,
    INI_UTF8,
    INI_UTF16
};  // of the text code page; with the mark of UTF-8 or of UTF-16

// The whole file as text, and the form that it is written in again.
struct IniText {
    WideText text;
    IniForm form = INI_NARROW;
};
// False when the file cannot be read.
[[nodiscard]] bool ReadIniFile(WideView path, IniText& out);
// The old file is replaced when all of the new one is written. False when it could not be.
[[nodiscard]] bool WriteIniFile(WideView path, const IniText& file);

// The first value of a key, names compared without regard to case and blanks around them. False when it is
// absent.
bool FindIniValue(WideView text, WideView section, WideView key, WideText& out);
// The keys of a section as they are written, a zero character behind each. False when memory fails.
[[nodiscard]] bool FindIniKeys(WideView text, WideView section, WideText& out);
// Replaces that value where it stands, or adds the key to its section or the section at the end; the rest of
// the text stays as it is. False when memory fails.
[[nodiscard]] bool PutIniValue(WideText& text, WideView section, WideView key, WideView value);

// The same on a file, for one value. A key that is absent gives `standard`,
// an empty one all keys of the section.
bool IniRead(WideView section, WideView key, WideView standard, WideText& out, WideView path);
bool IniWrite(WideView section, WideView key, WideView value, WideView path);

}  // namespace tally
