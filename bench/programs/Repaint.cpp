// How long the window's paints take on a sheet full of values: all of it, one scroll step, one key.
// repaint [RUNS]

#include <QApplication>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "model/BookTable.h"
#include "model/CellStore.h"
#include "platform/qt/QtDesktop.h"
#include "shell/frame/Shell.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"

using namespace tally;

namespace {

void Settle() {
    for (int i = 0; i < 3; ++i) QApplication::processEvents();
}

template <typename Act>
void Time(const char* name, int runs, Act act) {
    Settle();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < runs; ++i) {
        act(i);
        Settle();
    }
    const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - start;
    std::printf("%-24s %7.2f ms\n", name, passed.count() / runs);
}

void Press(u32 key) {
    ShellMessage message;
    message.message = WM_KEYDOWN;
    message.key = key;
    FrameCallsInUse().sendMessage(message);
}

bool FillSheet() {
    Sheet& sheet = *CurrentSheet();
    for (i32 row = 0; row < MAX_ROWS; ++row) {
        for (i32 column = 0; column < 20; ++column) {
            const Value value = column % 4 == 3 ? TextValue(u"some text") : NumberValue(row + column / 8.0);
            if (!InsertCell(sheet, row, column, DEFAULT_CELL_FORMAT, value, FormulaTokens())) return false;
        }
    }
    return true;
}

}  // namespace

int main(int count, char** arguments) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    const int runs = count > 1 ? std::atoi(arguments[1]) : 200;
    OpenDesktop(count, arguments);
    SetShellPlatform(&QtShellPlatform());
    OpenFrame(ShellFrameCalls());
    StartShell(u"");
    ShowFrame();
    if (!FillSheet()) return 1;
    RefreshChrome();
    Time("the whole window", runs, [](int) { InvalidateAll(); });
    Time("a scroll step", runs, [](int i) { ScrollTo(100 + i, 0); });
    Time("an arrow key", runs, [](int i) { Press(i % 20 < 10 ? VK_RIGHT : VK_LEFT); });
    StopShell();
    CloseDesktop();
    return 0;
}
