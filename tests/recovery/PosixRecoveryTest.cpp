// The journal on a real disk, with real processes.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/RecoveryPlatform.h"
#include "base/Text.h"
#include "platform/posix/PosixRecovery.h"
#include "recovery/LostBooks.h"
#include "shell/frame/Shell.h"
#include "support/BookDump.h"
#include "support/RecoverySandbox.h"

namespace tally {
namespace {

namespace fs = std::filesystem;

class OnDisk : public RecoverySandbox {
  protected:
    std::string root;

    void SetUp() override {
        RecoverySandbox::SetUp();
        root = (fs::temp_directory_path() / "tallyman-recovery-XXXXXX").string();
        ASSERT_NE(mkdtemp(root.data()), nullptr);
        ASSERT_EQ(setenv("XDG_STATE_HOME", root.c_str(), 1), 0);
        Headless().filesInMemory = false;
        Headless().recoversOnDisk = true;
    }
    void TearDown() override {
        RecoverySandbox::TearDown();
        ResetPosixRecovery();
        unsetenv("XDG_STATE_HOME");
        fs::remove_all(root);
    }
    // Runs in a process of its own, which then kills itself; true when it came that far.
    template <typename Work>
    static bool InAnotherProcess(Work work) {
        const pid_t child = fork();
        if (child == 0) {
            work();
            if (!HasFailure()) raise(SIGKILL);
            _exit(1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    }
    void Keep(const std::vector<std::string>& lines) const {
        std::ofstream out(root + "/dump");
        for (const std::string& line : lines) out << line << '\n';
    }
    std::vector<std::string> Kept() const {
        std::ifstream in(root + "/dump");
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> files;
        std::error_code none;
        for (const auto& entry : fs::recursive_directory_iterator(root + "/tallyman/recovery", none))
            files.push_back(entry.path().filename().string());
        return files;
    }
    static void TickSlowly() {
        for (int i = 0; i < 2000 && HeadlessFrame().timers[TIMER_JOURNAL]; ++i) {
            SendTimer(TIMER_JOURNAL);
            usleep(2000);
        }
        ASSERT_FALSE(HeadlessFrame().timers[TIMER_JOURNAL]);
    }
    static void Type(std::string_view cell, WideView text) {
        Select(cell);
        TypeText(text);
        PressKey(VK_RETURN);
    }
};

TEST_F(OnDisk, AKilledProcessLeavesItsBooksToTheNext) {
    ASSERT_TRUE(InAnotherProcess([&] {
        Type("A1", u"12");
        TickSlowly();
        Type("A2", u"=A1*2");
        TickSlowly();
        PickCommand(161);
        TickSlowly();
        Type("B1", u"at the end");
        TickSlowly();
        Keep(KeptOfBook());
    }));
    Kill();
    ASSERT_TRUE(AnswerDialog(true));
    ASSERT_TRUE(EnterInDialog(OPEN_OFFERED, u""));
    LookForBooks();
    EXPECT_EQ(HeadlessDialogs().shown.Count(), 1u);
    EXPECT_EQ(DumpDifference(Kept(), KeptOfBook()), "");
    EXPECT_EQ(Shown("B1"), "at the end");
    // Nothing stays on the disk once the book is closed and the program ends.
    CurrentWorkbook()->dirty = 1;
    SendNothing();
    TickSlowly();
    ASSERT_TRUE(Headless().answers.Append(IDNO));
    CloseFrame();
    StopShell();
    EXPECT_EQ(Files(), std::vector<std::string>());
}

TEST_F(OnDisk, AWriterGoesOnWhenItsProgramIsKilled) {
    ASSERT_TRUE(InAnotherProcess([&] {
        Type("A1", u"12");
        // The tick that starts the writer is the last.
        SendTimer(TIMER_JOURNAL);
    }));
    Array<LostBook> lost;
    bool busy = true;
    for (int i = 0; i < 2000 && lost.IsEmpty(); ++i) {
        ASSERT_TRUE(FindLostBooks(lost, busy));
        ASSERT_TRUE(busy || !lost.IsEmpty());
        usleep(2000);
    }
    ASSERT_EQ(lost.Count(), 1u);
    EXPECT_EQ(RecoverLostBook(lost[0]), RECOVERED_WHOLE);
    EXPECT_EQ(Shown("A1"), "12");
}

TEST_F(OnDisk, ALivingProcessKeepsItsBooksToItself) {
    Type("A1", u"12");
    TickSlowly();
    const pid_t child = fork();
    if (child == 0) {
        // What a fork inherits is not this process's own.
        ResetPosixRecovery();
        Array<LostBook> lost;
        bool busy = true;
        const bool good = FindLostBooks(lost, busy) && lost.IsEmpty() && !busy;
        _exit(good ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(OnDisk, FoldersAndFilesAreTheUsersAlone) {
    Type("A1", u"12");
    TickSlowly();
    Type("A2", u"13");
    TickSlowly();
    struct stat status;
    ASSERT_EQ(stat((root + "/tallyman/recovery").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    for (const auto& entry : fs::directory_iterator(root + "/tallyman/recovery")) {
        ASSERT_EQ(stat(entry.path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700u);
    }
    EXPECT_EQ(Files().size(), 4u);  // folder, lock, snapshot, log
}

TEST_F(OnDisk, AppendingIsAllOrNothing) {
    WideText folder, path;
    ASSERT_TRUE(PosixRecovery().ownFolder(folder));
    ASSERT_TRUE(path.Assign(folder) && path.Append(u"1-1.log"));
    const u8 bytes[] = {1, 2, 3};
    ASSERT_TRUE(PosixRecovery().appendFile(path, {bytes, sizeof bytes}));
    ASSERT_TRUE(PosixRecovery().appendFile(path, {bytes, sizeof bytes}));
    PosixRecovery().flushAppended();
    Array<u8> read;
    ASSERT_TRUE(Platform().readFile(path, read));
    EXPECT_EQ(read.Count(), 6u);
    EXPECT_FALSE(PosixRecovery().appendFile(u"/proc/nowhere/file", {bytes, sizeof bytes}));
}

TEST_F(OnDisk, AWriterCanBeStoppedAndTellsHowItEnded) {
    const auto waits = [](void*) {
        sleep(30);
        return true;
    };
    const i32 slow = PosixRecovery().startWriter(waits, nullptr);
    ASSERT_GT(slow, 0);
    EXPECT_EQ(PosixRecovery().writerState(slow, false), WRITER_RUNNING);
    PosixRecovery().stopWriter(slow);
    EXPECT_EQ(PosixRecovery().writerState(slow, false), WRITER_FAILED);
    const i32 good = PosixRecovery().startWriter([](void*) { return true; }, nullptr);
    EXPECT_EQ(PosixRecovery().writerState(good, true), WRITER_DONE);
    const i32 bad = PosixRecovery().startWriter([](void*) { return false; }, nullptr);
    EXPECT_EQ(PosixRecovery().writerState(bad, true), WRITER_FAILED);
}

}  // namespace
}  // namespace tally
