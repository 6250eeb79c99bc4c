#include "base/Text.h"
#include "shell/Shell.h"
#include "shell/qt/QtDesktop.h"

int main(int count, char** arguments) {
    using namespace tally;
    OpenDesktop(count, arguments);
    SetShellPlatform(&QtShellPlatform());
    OpenFrame({SendShellMessage, TranslateShellAccelerator, EntryLineKeyDown, EntryLineChar, EntryLineClick,
               MenuItems});
    WideText path;
    if (count > 1) IgnoreFailure(WideFromUtf8(path, arguments[1]));
    StartShell(path);
    ShowFrame();
    const int code = RunMessageLoop();
    StopShell();
    CloseDesktop();
    return code;
}
