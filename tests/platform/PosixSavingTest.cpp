// How an output takes the place of an old file on a real disk, and what is left when it cannot or when the
// process ends in between.

#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "base/Text.h"
#include "platform/posix/FileSteps.h"
#include "platform/posix/PosixFiles.h"

namespace tally {
namespace {

namespace fs = std::filesystem;

// What the hook does at which call.
struct Fault {
    int countdown = 0;  // the n-th step; 0 none
    int error = 0;      // that it fails with
    int signal = 0;     // that it ends the process with
    FileStep only = STEP_COUNT;
    int onlyError = 0;  // of every step of the kind `only`
    bool unnamedRefused = false;
    int steps = 0;
};
Fault fault;

int Hook(FileStep step) {
    ++fault.steps;
    if (step == STEP_BESIDE && fault.unnamedRefused) return EOPNOTSUPP;
    if (step == fault.only) return fault.onlyError;
    if (!fault.countdown || --fault.countdown) return 0;
    if (fault.signal) raise(fault.signal);
    return fault.error;
}

std::string Content(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct stat StatusOf(const fs::path& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

class PosixSaving : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tallyman-saving-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        // What a guard still has to do after its process has died can be waited for.
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        fault = {};
        SetFileStepHook(Hook);
    }
    void TearDown() override {
        SetFileStepHook(nullptr);
        ResetPosixFiles();
        prctl(PR_SET_CHILD_SUBREAPER, 0);
        fs::permissions(folder, fs::perms::owner_all);
        fs::remove_all(folder);
    }
    static void Put(const fs::path& path, const std::string& text) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
    static bool Write(const fs::path& path, const std::string& text) {
        WideText wide;
        if (!WideFromPath(wide, path.native())) return false;
        const OutputHandle file = PosixCreateFile(wide);
        if (!file) return false;
        // In two parts, so that something is written before the close.
        const std::size_t half = text.size() / 2;
        if (!PosixWriteFile(file, text.data(), half) ||
            !PosixWriteFile(file, text.data() + half, text.size() - half)) {
            PosixAbandonFile(file);
            return false;
        }
        return PosixCloseFile(file);
    }
    // Runs in a process of its own; the status as waitpid gives it. Whatever it left behind has ended too.
    static int InChild(const std::function<bool()>& body) {
        const pid_t child = fork();
        if (child == 0) {
            const rlimit none = {0, 0};
            setrlimit(RLIMIT_CORE, &none);
            _exit(body() ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        while (waitpid(-1, nullptr, 0) > 0 || errno == EINTR) {
        }
        return status;
    }
    static bool BecomeNobody() {
        return geteuid() != 0 || (setgroups(0, nullptr) == 0 && setresgid(65534, 65534, 65534) == 0 &&
                                  setresuid(65534, 65534, 65534) == 0);
    }
    static bool IsRoot() { return geteuid() == 0; }

    // The three ways to replace an old file.
    struct Way {
        const char* name;
        bool hardLink;
        bool named;
    };
    static constexpr Way ways[] = {
        {"without a name", false, false}, {"with a name", false, true}, {"in place", true, false}};
    fs::path Prepare(const Way& way, const std::string& old) {
        for (const auto& entry : fs::directory_iterator(folder)) fs::remove(entry.path());
        const fs::path path = folder / "book.xls";
        Put(path, old);
        if (way.hardLink) fs::create_hard_link(path, folder / "other.xls");
        fault = {};
        fault.unnamedRefused = way.named;
        return path;
    }
    fs::path folder;
};

const std::string longText(200000, 'n');
const std::string shortText = "short";

TEST_F(PosixSaving, EveryStepThatFailsLeavesTheOldFileWholeAndNothingBeside) {
    for (const Way& way : ways) {
        for (const std::string& fresh : {longText, shortText}) {
            const std::string old(70000, 'o');
            bool done = false;
            int n = 0, failures = 0;
            while (!done && n < 100) {
                const fs::path path = Prepare(way, old);
                const std::size_t before = FilesInFolder();
                const ino_t inode = StatusOf(path).st_ino;
                fault.countdown = ++n;
                fault.error = ENOSPC;
                const bool good = Write(path, fresh);
                done = fault.countdown > 0;
                failures += !good;
                EXPECT_TRUE(Content(path) == (good ? fresh : old)) << way.name << " step " << n;
                EXPECT_EQ(FilesInFolder(), before) << way.name << " step " << n;
                if (way.hardLink) EXPECT_EQ(StatusOf(path).st_ino, inode);
                if (way.hardLink) EXPECT_TRUE(Content(folder / "other.xls") == (good ? fresh : old));
                // Only the looks of the old file have another way out: its own place.
                EXPECT_TRUE(good == done || n <= 3) << way.name << " step " << n;
            }
            EXPECT_TRUE(done);
            EXPECT_GE(failures, 4) << way.name;
        }
    }
}

TEST_F(PosixSaving, AProcessThatASignalEndsLeavesOneWholeFileAndNothingBeside) {
    const std::string old(70000, 'o');
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGKILL}) {
        for (const Way& way : ways) {
            int ended = 0, n = 0;
            for (bool done = false; !done && n < 100;) {
                const fs::path path = Prepare(way, old);
                const std::size_t before = FilesInFolder();
                fault.countdown = ++n;
                fault.signal = signal;
                const int status = InChild([&] { return Write(path, longText); });
                done = WIFEXITED(status);
                ended += WIFSIGNALED(status);
                if (WIFSIGNALED(status)) EXPECT_EQ(WTERMSIG(status), signal);
                const std::string now = Content(path);
                EXPECT_TRUE(now == old || now == longText) << way.name << " step " << n << " signal " << signal;
                if (done) EXPECT_TRUE(now == longText);
                // Nothing can be done about a name when the process is not asked.
                if (signal != SIGKILL || way.hardLink) EXPECT_EQ(FilesInFolder(), before) << way.name << n;
            }
            EXPECT_GE(ended, 5) << way.name;
        }
    }
}

// A signal in the two steps of naming waits until both are done.
TEST_F(PosixSaving, BetweenNameAndPlaceNoSignalGetsThrough) {
    const fs::path path = Prepare(ways[0], "old");
    fault.countdown = 5;  // beside, looks, write, flush, link
    fault.signal = SIGTERM;
    const int status = InChild([&] { return Write(path, "new"); });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(Content(path), "new");
    EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(PosixSaving, ALimitOfTheSizeLeavesTheOldFileWholeAndTheProcessAlive) {
    const std::string old(70000, 'o');
    for (const Way& way : ways) {
        for (const rlim_t room : {0u, 1000u, 65536u, 70000u, 100000u, 199999u}) {
            const fs::path path = Prepare(way, old);
            const std::size_t before = FilesInFolder();
            const int status = InChild([&] {
                const rlimit small = {room, room};
                setrlimit(RLIMIT_FSIZE, &small);
                return Write(path, longText);
            });
            ASSERT_TRUE(WIFEXITED(status)) << way.name << " " << room;
            EXPECT_EQ(WEXITSTATUS(status), 1);
            EXPECT_TRUE(Content(path) == old) << way.name << " " << room;
            EXPECT_EQ(FilesInFolder(), before);
        }
    }
}

TEST_F(PosixSaving, OnlyARefusingFolderIsAReasonToWriteInPlace) {
    struct Row {
        int error;
        bool inPlace;
    };
    for (const Row& row : {Row{EACCES, true},
                           {EPERM, true},
                           {EROFS, true},
                           {ENOSPC, false},
                           {EDQUOT, false},
                           {EMFILE, false},
                           {EIO, false},
                           {ENOMEM, false}}) {
        const fs::path path = Prepare(ways[0], "old");
        const ino_t inode = StatusOf(path).st_ino;
        fault.only = STEP_BESIDE;
        fault.onlyError = row.error;
        EXPECT_EQ(Write(path, "new"), row.inPlace) << row.error;
        EXPECT_EQ(Content(path), row.inPlace ? "new" : "old") << row.error;
        EXPECT_EQ(StatusOf(path).st_ino, inode) << row.error;
        // There is no old file to write into.
        EXPECT_FALSE(Write(folder / "fresh.xls", "new")) << row.error;
        EXPECT_EQ(FilesInFolder(), 1u);
    }
}

TEST_F(PosixSaving, AFileThatMayNotBeReplacedIsWrittenInPlace) {
    for (const int error : {EACCES, EPERM, EBUSY}) {
        const fs::path path = Prepare(ways[0], "old");
        const ino_t inode = StatusOf(path).st_ino;
        fault.only = STEP_RENAME;
        fault.onlyError = error;
        EXPECT_TRUE(Write(path, longText));
        EXPECT_TRUE(Content(path) == longText);
        EXPECT_EQ(StatusOf(path).st_ino, inode);
        EXPECT_EQ(FilesInFolder(), 1u);
    }
}

// Whichever way a save takes, and however it ends.
TEST_F(PosixSaving, NoSaveKeepsADescriptor) {
    const auto open = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    IgnoreFailure(Write(folder / "first.xls", "x"));
    const auto before = open();
    for (const Way& way : ways) {
        for (const FileStep step : {STEP_COUNT, STEP_BESIDE, STEP_LOOKS, STEP_WRITE, STEP_FLUSH, STEP_LINK,
                                    STEP_RENAME, STEP_KEEP, STEP_RESERVE, STEP_OVERWRITE, STEP_SHORTEN}) {
            for (const int error : {EACCES, EIO}) {
                fault = {};
                const fs::path path = Prepare(way, longText);
                fault.only = step;
                fault.onlyError = error;
                IgnoreFailure(Write(path, shortText));
                EXPECT_EQ(open(), before) << way.name << " " << int{step} << " " << error;
            }
        }
    }
}

// The real thing, as a user without rights.
TEST_F(PosixSaving, AFolderWithoutTheRightToWriteKeepsItsFileInPlace) {
    const fs::path path = folder / "book.xls";
    Put(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0555), 0);
    const ino_t inode = StatusOf(path).st_ino;
    EXPECT_EQ(InChild([&] { return BecomeNobody() && Write(path, "new"); }), 0);
    EXPECT_EQ(Content(path), "new");
    EXPECT_EQ(StatusOf(path).st_ino, inode);
    EXPECT_NE(InChild([&] { return BecomeNobody() && Write(folder / "fresh.xls", "new"); }), 0);
    // A process that dies over it leaves the old one.
    for (int n = 1; n <= 5; ++n) {
        const int status = InChild([&] {
            fault = {};
            fault.countdown = n;
            fault.signal = SIGKILL;
            return BecomeNobody() && Write(path, longText);
        });
        EXPECT_TRUE(WIFSIGNALED(status)) << n;
        EXPECT_EQ(Content(path), "new") << n;
    }
    chmod(folder.c_str(), 0755);
}

TEST_F(PosixSaving, AnotherOwnerStaysInAnyFolder) {
    if (!IsRoot()) GTEST_SKIP() << "needs the right to give files away";
    const fs::path path = folder / "book.xls";
    for (const mode_t mode : {0777, 01777}) {
        Put(path, "old");
        ASSERT_EQ(chown(path.c_str(), 1234, 4321), 0);
        ASSERT_EQ(chmod(path.c_str(), 0666), 0);
        ASSERT_EQ(chmod(folder.c_str(), mode), 0);
        EXPECT_EQ(InChild([&] { return BecomeNobody() && Write(path, "by nobody"); }), 0);
        EXPECT_EQ(Content(path), "by nobody");
        EXPECT_TRUE(Write(path, "by root"));
        EXPECT_EQ(Content(path), "by root");
        EXPECT_EQ(StatusOf(path).st_uid, 1234u);
        EXPECT_EQ(StatusOf(path).st_gid, 4321u);
        EXPECT_EQ(StatusOf(path).st_mode & 07777, 0666u);
        EXPECT_EQ(FilesInFolder(), 1u);
    }
}

TEST_F(PosixSaving, ExtendedAttributesStay) {
    const fs::path path = folder / "book.xls";
    Put(path, "old");
    if (setxattr(path.c_str(), "user.note", "kept", 4, 0) != 0) GTEST_SKIP() << "no attributes here";
    ASSERT_TRUE(Write(path, "new"));
    char value[16] = {};
    EXPECT_EQ(getxattr(path.c_str(), "user.note", value, sizeof value), 4);
    EXPECT_EQ(std::string(value), "kept");
    EXPECT_EQ(Content(path), "new");
}

TEST_F(PosixSaving, ALinkStaysAndWhatItLeadsToIsWrittenEvenWhenThereIsNothingYet) {
    fs::create_directory(folder / "deep");
    struct Row {
        const char* link;
        fs::path leads;
        fs::path target;
    };
    const Row rows[] = {
        {"a.xls", "deep/target.xls", folder / "deep/target.xls"},
        {"b.xls", folder / "absolute.xls", folder / "absolute.xls"},
        {"c.xls", "a2.xls", folder / "deep/last.xls"},
    };
    fs::create_symlink("deep/last.xls", folder / "a2.xls");
    for (const Row& row : rows) {
        fs::create_symlink(row.leads, folder / row.link);
        for (const char* text : {"first", "second"}) {
            EXPECT_TRUE(Write(folder / row.link, text)) << row.link;
            EXPECT_TRUE(fs::is_symlink(folder / row.link));
            EXPECT_FALSE(fs::is_symlink(row.target));
            EXPECT_EQ(Content(row.target), text) << row.link;
        }
    }
    fs::create_symlink("round2", folder / "round1");
    fs::create_symlink("round1", folder / "round2");
    EXPECT_FALSE(Write(folder / "round1", "x"));
    fs::create_symlink("nowhere/at/all", folder / "lost");
    EXPECT_FALSE(Write(folder / "lost", "x"));
}

TEST_F(PosixSaving, ANewFileHasTheModeThatTheUserGivesToNewFiles) {
    const mode_t before = umask(027);
    for (const bool named : {false, true}) {
        fault = {};
        fault.unnamedRefused = named;
        const fs::path path = folder / (named ? "n.xls" : "u.xls");
        EXPECT_TRUE(Write(path, "x"));
        EXPECT_EQ(StatusOf(path).st_mode & 07777, 0640u);
    }
    umask(before);
}

TEST_F(PosixSaving, AFileThatMayNotBeWrittenIsNotReplaced) {
    const fs::path path = folder / "book.xls";
    Put(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0777), 0);
    EXPECT_NE(InChild([&] { return BecomeNobody() && Write(path, "new"); }), 0);
    EXPECT_EQ(Content(path), "old");
}

TEST_F(PosixSaving, NamesOfAnyBytesWorkAndStayWhatTheyAre) {
    const std::string names[] = {
        "caf\xC3\xA9.xls",      "caf\xE9.xls",       "\xFF\xFE\x80.xls",  "\xED\xB2\x80.xls",
        "\xF0\x9F\x98\x80.xls", "half \xF0\x9F.xls", "new\nline\x1B.xls", std::string(250, 'x') + ".xls"};
    for (const std::string& name : names) {
        WideText wide;
        ASSERT_TRUE(WideFromPath(wide, (folder / name).native()));
        EXPECT_TRUE(Write(folder / name, name)) << name;
        EXPECT_EQ(Content(folder / name), name);
        EXPECT_TRUE(PosixFileExists(wide));
        Array<u8> bytes;
        FileStamp stamp;
        EXPECT_EQ(PosixReadPlainFile({.path = wide}, bytes, &stamp), READ_GOOD);
        EXPECT_EQ(bytes.Count(), name.size());
        EXPECT_EQ(stamp.size, name.size());
    }
    EXPECT_EQ(FilesInFolder(), std::size(names));
    for (const WideView bad :
         {WideView(u"\xD800.xls"), WideView(u"\xDC00.xls"), WideView(u"a\0b", 3), WideView()})
        EXPECT_EQ(PosixCreateFile(bad), 0);
}

// ---- reading ---------------------------------------------------------------------------------------------

bool NeverWanted(ByteView) { return false; }
std::size_t startSize = 0;
bool NoteStart(ByteView start) {
    startSize = start.size();
    return true;
}

ReadOutcome Read(const fs::path& path, bool foreign, bool (*mayBe)(ByteView) = nullptr) {
    WideText wide;
    Array<u8> bytes;
    if (!WideFromPath(wide, path.native())) return READ_FAILED;
    return PosixReadPlainFile({wide, foreign, mayBe}, bytes, nullptr);
}

TEST_F(PosixSaving, OnlyPlainFilesAreReadAndNothingElseIsEvenOpened) {
    Put(folder / "plain", "text");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0666), 0);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s/socket", folder.c_str());
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    fs::create_symlink("/dev/zero", folder / "device");
    fs::create_symlink("/proc/self/environ", folder / "made-up");
    fs::create_symlink("plain", folder / "link");
    fs::create_symlink("pipe", folder / "link-to-pipe");
    struct Row {
        fs::path path;
        ReadOutcome own, foreign;
    };
    const Row rows[] = {
        {folder / "plain", READ_GOOD, READ_GOOD},
        {folder / "link", READ_GOOD, READ_GOOD},
        {folder / "pipe", READ_NOT_PLAIN, READ_NOT_PLAIN},
        {folder / "link-to-pipe", READ_NOT_PLAIN, READ_NOT_PLAIN},
        {folder / "socket", READ_NOT_PLAIN, READ_NOT_PLAIN},
        {folder / "device", READ_NOT_PLAIN, READ_NOT_PLAIN},
        {"/dev/null", READ_NOT_PLAIN, READ_NOT_PLAIN},
        {folder, READ_FOLDER, READ_FOLDER},
        {folder / "made-up", READ_GOOD, READ_NOT_PLAIN},
        {folder / "absent", READ_MISSING, READ_MISSING},
        {folder / "plain" / "below", READ_MISSING, READ_MISSING},
        {"", READ_MISSING, READ_MISSING},
        {"/" + (folder / "plain").string(), READ_GOOD, READ_NOT_PLAIN},
        {"smb://host/share/a.xls", READ_MISSING, READ_NOT_PLAIN},
        {"\\\\host\\share\\a.xls", READ_MISSING, READ_NOT_PLAIN},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Read(row.path, false), row.own) << row.path;
        EXPECT_EQ(Read(row.path, true), row.foreign) << row.path;
    }
    close(listener);
    ASSERT_EQ(chmod((folder / "plain").c_str(), 0), 0);
    ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
    EXPECT_EQ(InChild([&] { return BecomeNobody() && Read(folder / "plain", false) == READ_NO_ACCESS; }), 0);
}

TEST_F(PosixSaving, TheFirstBytesDecideWhetherTheRestIsRead) {
    const fs::path path = folder / "large";
    Put(path, "no book");
    ASSERT_EQ(truncate(path.c_str(), off_t{3} << 30), 0);
    rusage before = {}, after = {};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(Read(path, false, NeverWanted), READ_UNWANTED);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 10000);  // kilobytes
    for (const std::size_t size : {0u, 1u, 511u, 512u, 513u, 100000u}) {
        Put(path, std::string(size, 'x'));
        WideText wide;
        ASSERT_TRUE(WideFromPath(wide, path.native()));
        Array<u8> bytes;
        EXPECT_EQ(PosixReadPlainFile({wide, false, NoteStart}, bytes, nullptr), READ_GOOD);
        EXPECT_EQ(bytes.Count(), size);
        EXPECT_EQ(startSize, std::min(size, READ_START));
    }
}

TEST_F(PosixSaving, TheStampTellsWhenAnotherProgramHasWritten) {
    const fs::path path = folder / "book.xls";
    WideText wide;
    ASSERT_TRUE(WideFromPath(wide, path.native()));
    FileStamp none;
    EXPECT_FALSE(PosixFileStamp(wide, none));
    EXPECT_FALSE(none.known);
    Put(path, "one");
    FileStamp first, same, other;
    ASSERT_TRUE(PosixFileStamp(wide, first));
    Array<u8> bytes;
    ASSERT_EQ(PosixReadPlainFile({.path = wide}, bytes, &same), READ_GOOD);
    EXPECT_EQ(first, same);
    Put(path, "longer");
    ASSERT_TRUE(PosixFileStamp(wide, other));
    EXPECT_NE(first, other);
    const timespec times[2] = {{1000, 0}, {1000, 5}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_TRUE(PosixFileStamp(wide, first));
    EXPECT_EQ(first.seconds, 1000);
    EXPECT_EQ(first.nanoseconds, 5u);
    // A file of the same size and time that was put there.
    fs::rename(path, folder / "away.xls");
    Put(path, "longer");
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_TRUE(PosixFileStamp(wide, other));
    EXPECT_NE(first, other);
}

}  // namespace
}  // namespace tally
