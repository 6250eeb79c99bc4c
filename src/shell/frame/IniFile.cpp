#include "shell/frame/IniFile.h"

#include <algorithm>

#include "base/Platform.h"
#include "base/Text.h"

namespace tally {
namespace {

WideView Trim(WideView text) {
    const auto blank = [](char16_t c) { return c == u' ' || c == u'\t'; };
    while (!text.empty() && blank(text.front())) text.remove_prefix(1);
    while (!text.empty() && blank(text.back())) text.remove_suffix(1);
    return text;
}

// One line of the text: where it begins, where what counts of it ends, where the next one begins.
struct IniLine {
    std::size_t start = 0, end = 0, next = 0;
    WideView section;            // of a line in brackets
    WideView key, value;         // of the others; no key in a line that says nothing
    std::size_t valueStart = 0;  // behind the "="
};

IniLine LineAt(WideView text, std::size_t start) {
    IniLine line;
    line.start = start;
    const std::size_t stop = std::min(text.find_first_of(u"\r\n", start), text.size());
    line.next = stop;
    if (line.next < text.size() && text[line.next] == u'\r') ++line.next;
    if (line.next < text.size() && text[line.next] == u'\n') ++line.next;
    const WideView all = text.substr(start, stop - start);
    const WideView said = all.substr(0, std::min(all.find(u';'), all.size()));
    line.end = start + said.size();
    const WideView trimmed = Trim(said);
    if (trimmed.size() >= 2 && trimmed.front() == u'[' && trimmed.back() == u']') {
        line.section = Trim(trimmed.substr(1, trimmed.size() - 2));
        return line;
    }
    const std::size_t equals = said.find(u'=');
    if (equals == said.npos) return line;
    line.key = Trim(said.substr(0, equals));
    line.value = Trim(said.substr(equals + 1));
    line.valueStart = start + equals + 1;
    return line;
}

// What a walk over the text has met.
struct IniPlace {
    bool inSection = false;      // the section was met
    std::size_t sectionEnd = 0;  // behind its last line that says something
    IniLine found;               // the key's line, when it has a key
};

IniPlace FindPlace(WideView text, WideView section, WideView key) {
    IniPlace place;
    bool inside = false;
    for (std::size_t at = 0; at < text.size();) {
        const IniLine line = LineAt(text, at);
        at = line.next;
        if (!line.section.empty())
            inside = !place.found.key.empty() ? false : EqualIgnoringCase(line.section, section);
        if (!inside) continue;
        place.inSection = true;
        if (!line.section.empty() || !line.key.empty()) place.sectionEnd = line.next;
        if (line.key.empty() || !EqualIgnoringCase(line.key, key)) continue;
        place.found = line;
        return place;
    }
    return place;
}

bool AppendLine(WideText& out, WideView key, WideView value) {
    return out.Append(key) && out.Append(u'=') && out.Append(value) && out.Append(u"\r\n");
}

}  // namespace

bool ReadIniFile(WideView path, IniText& out) {
    Array<u8> bytes;
    out.text.Truncate(0);
    if (!Platform().readFile(path, bytes)) return false;
    ByteView rest = bytes.Span();
    if (rest.size() >= 2 && rest[0] == 0xFF && rest[1] == 0xFE) {
        out.form = INI_UTF16;
        for (std::size_t i = 2; i + 1 < rest.size(); i += 2)
            if (!out.text.Append(static_cast<char16_t>(rest[i] | rest[i + 1] << 8))) return false;
        return true;
    }
    const bool marked = rest.size() >= 3 && rest[0] == 0xEF && rest[1] == 0xBB && rest[2] == 0xBF;
    out.form = marked ? INI_UTF8 : INI_NARROW;
    return Platform().multiByteToWideChar(marked ? 65001 : Platform().getTextCodePage(),
                                          marked ? rest.subspan(3) : rest, out.text);
}

bool WriteIniFile(WideView path, const IniText& file) {
    Array<u8> bytes;
    bool good = true;
    if (file.form == INI_UTF16) {
        good = bytes.Append(0xFF) && bytes.Append(0xFE);
        for (const char16_t c : file.text.View())
            good = good && bytes.Append(static_cast<u8>(c & 0xFF)) && bytes.Append(static_cast<u8>(c >> 8));
    } else {
        if (file.form == INI_UTF8) good = bytes.Append(0xEF) && bytes.Append(0xBB) && bytes.Append(0xBF);
        const u32 page = file.form == INI_UTF8 ? 65001 : Platform().getTextCodePage();
        good = good && Platform().wideCharToMultiByte(page, file.text, bytes);
    }
    if (!good) return false;
    const OutputHandle output = Platform().createFile(path);
    if (!output) return false;
    if (Platform().writeFile(output, bytes.Data(), bytes.Count())) return Platform().closeFile(output);
    Platform().abandonFile(output);
    return false;
}

bool FindIniValue(WideView text, WideView section, WideView key, WideText& out) {
    const IniPlace place = FindPlace(text, section, key);
    return !place.found.key.empty() && out.Assign(place.found.value);
}

bool FindIniKeys(WideView text, WideView section, WideText& out) {
    out.Truncate(0);
    bool inside = false;
    for (std::size_t at = 0; at < text.size();) {
        const IniLine line = LineAt(text, at);
        at = line.next;
        if (!line.section.empty()) inside = EqualIgnoringCase(line.section, section);
        if (inside && !line.key.empty() && !(out.Append(line.key) && out.Append(u'\0'))) return false;
    }
    return true;
}

bool PutIniValue(WideText& text, WideView section, WideView key, WideView value) {
    const IniPlace place = FindPlace(text, section, key);
    const WideView old = text;
    WideText fresh;
    bool good;
    if (!place.found.key.empty()) {
        good = fresh.Append(old.substr(0, place.found.valueStart)) && fresh.Append(value) &&
               fresh.Append(old.substr(place.found.end));
    } else if (place.inSection) {
        const WideView head = old.substr(0, place.sectionEnd);
        good = fresh.Append(head) && (head.back() == u'\n' || head.back() == u'\r' || fresh.Append(u"\r\n")) &&
               AppendLine(fresh, key, value) && fresh.Append(old.substr(place.sectionEnd));
    } else {
        good = fresh.Append(old) && (old.empty() || old.back() == u'\n' || fresh.Append(u"\r\n")) &&
               fresh.Append(u'[') && fresh.Append(section) && fresh.Append(u"]\r\n") &&
               AppendLine(fresh, key, value);
    }
    if (good) text = std::move(fresh);
    return good;
}

bool IniRead(WideView section, WideView key, WideView standard, WideText& out, WideView path) {
    IniText file;
    const bool read = ReadIniFile(path, file);
    if (read && key.empty()) return FindIniKeys(file.text, section, out);
    return (read && FindIniValue(file.text, section, key, out)) || out.Assign(standard);
}

bool IniWrite(WideView section, WideView key, WideView value, WideView path) {
    IniText file;
    return ReadIniFile(path, file) && PutIniValue(file.text, section, key, value) && WriteIniFile(path, file);
}

}  // namespace tally
