#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/MessageTable.h"
#include "base/Text.h"
#include "platform/posix/Regions.h"
#include "platform/qt/QtDesktop.h"
#include "shell/frame/Shell.h"

// The toolkit would end the process without a word that helps.
static bool HasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        const char* value = std::getenv(name);
        if (value && *value) return true;
    }
    return false;
}

static std::string TextOf(tally::u16 number) {
    const tally::WideView text = tally::Message(number);
    std::string line(tally::Utf8Length(text), '\0');
    tally::Utf8FromWide(text, line.data());
    return line;
}

// What asks about the program and needs no display. False for a path.
static bool TellAbout(std::string_view argument) {
    const bool version = argument == "--version";
    if (!version && argument != "--help" && argument != "-h") return false;
    std::puts(version ? "tallyman " TALLYMAN_VERSION : TextOf(tally::MSG_DESKTOP_HELP).c_str());
    return true;
}

int main(int count, char** arguments) {
    using namespace tally;
    SetLanguage(LanguageFromEnvironment());
    if (count > 1 && TellAbout(arguments[1])) return 0;
    if (!HasDisplay()) {
        std::fprintf(stderr, "tallyman: %s\n", TextOf(MSG_NO_DISPLAY).c_str());
        return 1;
    }
    OpenDesktop(count, arguments);
    SetShellPlatform(&QtShellPlatform());
    OpenFrame(ShellFrameCalls());
    WideText path;
    if (count > 1) IgnoreFailure(WideFromPath(path, arguments[1]));
    StartShell(path);
    for (int i = 2; i < count; ++i)
        if (WideFromPath(path, arguments[i])) OpenAnotherFile(path);
    ShowFrame();
    const int code = RunMessageLoop();
    StopShell();
    CloseDesktop();
    return code;
}
