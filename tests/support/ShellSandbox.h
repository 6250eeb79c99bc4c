#pragma once
// The whole program without a screen: a started shell with its first book.

#include "platform/headless/HeadlessShell.h"
#include "support/Sandbox.h"

namespace tally {

// The platform and the shell around a program that a test starts itself (StartShell), and their end, after
// which they hold no memory: for tests with an allocator of their own.
void BeginBareProgram();
void EndBareProgram();

class ShellSandbox : public Sandbox {
  protected:
    void SetUp() override;
    void TearDown() override;

    static void Select(std::string_view cell);
    static std::string Active();     // address in the status bar
    static std::string Selection();  // "A1:B2"
    static std::string Line();       // text of the entry line
    static std::string Readout();
    // Paints after all that is seen has been brought up to date, as if any of it had changed.
    static void PaintHeadless(bool all = true);
    // Middle of a shown cell, in pixels.
    static void CellPoint(std::string_view cell, i32& x, i32& y);
    static void ClickCell(std::string_view cell, u32 modifiers = 0);
    // The texts that the last paint drew, in its order.
    static int CountDrawn(std::string_view text);
    static const DrawRecord* FindDrawn(std::string_view text);
    static bool IsEnabled(MenuId menu, i32 command);
};

}  // namespace tally
