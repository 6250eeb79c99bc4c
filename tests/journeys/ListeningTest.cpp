// What a screen reader hears of the desktop program: the real bus of accessibility, with a listener on it.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include "journeys/Desk.h"
#include "support/BiffBuilder.h"

namespace tally::journeys {
namespace {

class Listening : public testing::Test {
  protected:
    void SetUp() override {
        if (!OpenDisplay(missing_)) GTEST_SKIP() << "No virtual display; missing: " << missing_;
        if (!Listen()) GTEST_SKIP() << "No bus of accessibility; missing: " << missing_;
        BiffBuilder book;
        book.Globals({"First"});
        book.Bof(16).Eof();
        const std::vector<u8> file = book.File();
        WriteBytes(Scratch() + "book.xls", {file.begin(), file.end()});
        StartProgram({Scratch() + "book.xls"});
        ASSERT_TRUE(WaitForTitle("Tallyman - book.xls"));
    }
    void TearDown() override {
        StopProgram();
        if (!listener_.empty()) RunTool({"kill", listener_.substr(0, listener_.find('\n'))});
        unsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
        CloseDisplay();
    }
    // All that was heard so far, a line each.
    std::string Heard() const {
        std::ifstream file(heard_);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    // Waits until a line was heard.
    bool Hears(const std::string& line) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        for (;;) {
            if (("\n" + Heard()).find("\n" + line + "\n") != std::string::npos) return true;
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

  private:
    bool Listen() {
        if (RunTool({"/usr/bin/python3", "-c", "import pyatspi"}).code != 0) {
            missing_ = "python3-pyatspi";
            return false;
        }
        if (!OpenBus(missing_)) return false;
        setenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1", 1);
        heard_ = Scratch() + "heard.txt";
        const std::string command = "timeout 120 /usr/bin/python3 " LISTENER " " + heard_;
        listener_ = RunTool({"sh", "-c", command + " >/dev/null 2>&1 & echo $!"}).text;
        missing_ = "the bus of accessibility";
        return Hears("listening");
    }

    std::string missing_, heard_, listener_;
};

TEST_F(Listening, TheActiveCellIsSpokenWithItsAddressItsValueAndItsFormula) {
    EXPECT_TRUE(Hears("focus table cell|A1||")) << Heard();
    Press({"Right"});
    EXPECT_TRUE(Hears("focus table cell|B1||")) << Heard();
    Type("12%");
    Press({"Return"});
    EXPECT_TRUE(Hears("focus table cell|B2||")) << Heard();
    Type("=B1+1");
    Press({"Return"});
    EXPECT_TRUE(Hears("focus table cell|B3||")) << Heard();
    Press({"Up"});
    EXPECT_TRUE(Hears("focus table cell|B2|1.12|=B1+1")) << Heard();
    Press({"Up"});
    EXPECT_TRUE(Hears("focus table cell|B1|12%|")) << Heard();
    // What is saved ends without a question.
    Press({"ctrl+s"});
}

TEST_F(Listening, StripsTabsAndDialogsHaveNames) {
    ASSERT_TRUE(Hears("window Tallyman - book.xls")) << Heard();
    for (const char* item : {"tool bar|工具栏", "push button|新建", "text|编辑栏", "table|First",
                             "table column header|C", "table row header|7", "page tab list|工作表标签",
                             "page tab|First", "status bar|状态栏", "label|A1", "menu item|文件(F)"})
        EXPECT_TRUE(Hears(std::string("item ") + item)) << Heard();
    Press({"ctrl+1"});
    ASSERT_TRUE(Hears("window 单元格格式")) << Heard();
    for (const char* item :
         {"dialog|单元格格式", "page tab|数字", "page tab|保护", "list|分类:", "push button|确定"})
        EXPECT_TRUE(Hears(std::string("item ") + item)) << Heard();
    Press({"Escape"});
    EXPECT_TRUE(WaitForTitle("Tallyman - book.xls"));
}

}  // namespace
}  // namespace tally::journeys
