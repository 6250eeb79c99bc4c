#include <cstdio>
#include <cstdlib>
#include <string>

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

static void TellNoDisplay() {
    const tally::WideView text = tally::Message(tally::MSG_NO_DISPLAY);
    std::string line(tally::Utf8Length(text), '\0');
    tally::Utf8FromWide(text, line.data());
    std::fprintf(stderr, "tallyman: %s\n", line.c_str());
}

int main(int count, char** arguments) {
    using namespace tally;
    SetLanguage(LanguageFromEnvironment());
    if (!HasDisplay()) {
        TellNoDisplay();
        return 1;
    }
    OpenDesktop(count, arguments);
    SetShellPlatform(&QtShellPlatform());
    OpenFrame(ShellFrameCalls());
    WideText path;
    if (count > 1) IgnoreFailure(WideFromPath(path, arguments[1]));
    StartShell(path);
    ShowFrame();
    const int code = RunMessageLoop();
    StopShell();
    CloseDesktop();
    return code;
}
