// Starts the desktop program with the files of the command line, paints its window once and ends: what the
// whole process takes is what a user waits for.
#include "base/Text.h"
#include "platform/qt/QtDesktop.h"
#include "shell/frame/Shell.h"

namespace tally {
namespace {

bool SendAndQuitAfterPaint(const ShellMessage& message) {
    const bool handled = FrameCallsInUse().sendMessage(message);
    if (message.message == WM_PAINT) ShellPlatform().quit();
    return handled;
}

}  // namespace
}  // namespace tally

int main(int count, char** arguments) {
    using namespace tally;
    OpenDesktop(count, arguments);
    SetShellPlatform(&QtShellPlatform());
    FrameCalls calls = ShellFrameCalls();
    calls.sendMessage = SendAndQuitAfterPaint;
    OpenFrame(calls);
    WideText path;
    if (count > 1) IgnoreFailure(WideFromUtf8(path, arguments[1]));
    StartShell(path);
    ShowFrame();
    const int code = RunMessageLoop();
    StopShell();
    CloseDesktop();
    return code;
}
