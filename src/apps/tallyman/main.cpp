#include <cstdio>
#include <cstdlib>

#include "base/Text.h"
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

int main(int count, char** arguments) {
    using namespace tally;
    if (!HasDisplay()) {
        std::fputs("tallyman: there is no display here; the command-line program tally works without one.\n",
                   stderr);
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
