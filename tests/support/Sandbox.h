#pragma once
// A clean program around a test: the headless platform, one region, no open book but a new one.

#include <gtest/gtest.h>

#include <string>

#include "model/BookTable.h"

namespace tally {

std::string Narrow(WideView text);
std::u16string Wide(std::string_view text);

class Sandbox : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // Types an entry into a cell of the current sheet as a user does, without the entry line.
    static void Enter(std::string_view cell, std::string_view text);
    // Enters an array formula over an area of the current sheet.
    static void EnterArray(std::string_view first, std::string_view last, std::string_view formula);
    // What the cell shows, brought up to date first.
    static std::string Shown(std::string_view cell);
    static CellRecord* CellAtName(std::string_view cell);
    // The formula as the entry line shows it; empty where there is none.
    static std::string FormulaOf(std::string_view cell);
    static RefArea AreaOf(std::string_view first, std::string_view last);
    // The value of a formula in A1 of the current sheet, as a cell of format General shows it.
    static std::string Eval(std::string_view formula);
    // Tokens as hexadecimal digits, trailing data behind "|"; "fault" when the text does not compile.
    static std::string Compiled(std::string_view formula, char letter = 'V', bool arrayMode = false);
    static std::string Printed(std::string_view formula);
    static void DefineName(std::string_view name, std::string_view formula, u16 sheet = 0);
    static void Region(const char* tag);
    // No book is open afterwards, and nothing is kept of those that were.
    static void ForgetBooks();
};

void ReadCellName(std::string_view name, i32& row, i32& column);

}  // namespace tally
