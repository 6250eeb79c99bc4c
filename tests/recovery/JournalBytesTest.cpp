// A journal whose bytes are cut or damaged.

#include <map>

#include "model/BookTable.h"
#include "recovery/Journal.h"
#include "recovery/JournalState.h"
#include "recovery/Snapshot.h"
#include "support/BookDump.h"
#include "support/RecoverySandbox.h"

namespace tally {
namespace {

class JournalLog : public RecoverySandbox {
  protected:
    struct State {
        std::size_t length;  // of the log
        std::vector<std::string> book;
    };
    std::vector<State> states;  // after each entry
    std::u16string snapshotPath, logPath;
    std::vector<u8> log;

    static std::vector<u8> Bytes(WideView path) {
        const MemoryFile* file = FindMemoryFile(path);
        return file ? std::vector<u8>(file->bytes.begin(), file->bytes.end()) : std::vector<u8>();
    }
    // A small book with a few entries of different kinds.
    void MakeLog() {
        Type("A1", u"1");
        Tick();
        const JournaledBook& row = *FindJournal(0);
        WideText path;
        ASSERT_TRUE(JournalPath(path, Journal().folder, row.id, row.snapshot, FILE_OF_SNAPSHOT));
        snapshotPath = path.View();
        ASSERT_TRUE(JournalPath(path, Journal().folder, row.id, row.snapshot, FILE_OF_LOG));
        logPath = path.View();
        states.push_back({0, KeptOfBook()});
        const auto keep = [&] {
            Tick();
            states.push_back({Bytes(logPath).size(), KeptOfBook()});
        };
        Type("A2", u"=SUM(A1:A1)");
        keep();
        Type("B1", u"some text");
        keep();
        Select("A1");
        PickCommand(432);
        keep();
        PickCommand(405);
        keep();
        PickCommand(130);
        keep();
        log = Bytes(logPath);
        ASSERT_EQ(FindJournal(0)->snapshot, row.snapshot);
        for (std::size_t i = 1; i < states.size(); ++i) ASSERT_GT(states[i].length, states[i - 1].length);
    }
    static void Type(std::string_view cell, WideView text) {
        Select(cell);
        TypeText(text);
        PressKey(VK_RETURN);
    }
    // The book that another start finds with these bytes as its log.
    std::vector<std::string> Recovered(const std::vector<u8>& bytes) {
        const std::vector<u8> snapshot = snapshot_;
        ResetJournal();
        Headless().files.Clear();
        EXPECT_TRUE(PutMemoryFile(snapshotPath, snapshot));
        EXPECT_TRUE(PutMemoryFile(logPath, bytes));
        Headless().boxes.Truncate(0);
        KillAndRecover();
        return KeptOfBook();
    }
    void KeepSnapshot() { snapshot_ = Bytes(snapshotPath); }

  private:
    std::vector<u8> snapshot_;
};

TEST_F(JournalLog, IsUsedToItsLastWholeEntryWhereverItIsCut) {
    ASSERT_NO_FATAL_FAILURE(MakeLog());
    KeepSnapshot();
    std::size_t state = 0;
    for (std::size_t length = 0; length <= log.size(); ++length) {
        while (state + 1 < states.size() && states[state + 1].length <= length) ++state;
        const std::vector<u8> cut(log.begin(), log.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_EQ(DumpDifference(states[state].book, Recovered(cut)), "") << length;
        ASSERT_EQ(Headless().boxes.Count(), 0u) << length;
    }
    EXPECT_EQ(state, states.size() - 1);
}

TEST_F(JournalLog, WithADamagedByteIsUsedUpToThere) {
    ASSERT_NO_FATAL_FAILURE(MakeLog());
    KeepSnapshot();
    for (std::size_t at = 0; at < log.size(); at += 3) {
        std::vector<u8> bytes = log;
        bytes[at] ^= 0x55;
        std::size_t state = 0;
        while (state + 1 < states.size() && states[state + 1].length <= at) ++state;
        ASSERT_EQ(DumpDifference(states[state].book, Recovered(bytes)), "") << at;
        ASSERT_LE(Headless().boxes.Count(), 1u) << at;
    }
    // The user is told when what comes behind is there and says nothing.
    std::vector<u8> bytes = log;
    bytes[states[1].length + 12] ^= 1;
    IgnoreFailure(Recovered(bytes).empty());
    ASSERT_EQ(Headless().boxes.Count(), 1u);
    EXPECT_NE(Narrow(Headless().boxes[0].text).find("Book1"), std::string::npos);
}

// Entries that have the right checksum and say what cannot be.
TEST_F(JournalLog, WithImpossibleEntriesHarmsNothing) {
    ASSERT_NO_FATAL_FAILURE(MakeLog());
    KeepSnapshot();
    std::size_t at = 0;
    ByteView entry;
    const ByteView whole(log.data(), log.size());
    std::vector<std::vector<u8>> entries;
    const u32 number = 1;
    while (NextEntry(whole, number, at, entry)) entries.emplace_back(entry.begin(), entry.end());
    ASSERT_EQ(entries.size(), states.size() - 1);
    for (const std::vector<u8>& original : entries) {
        for (std::size_t byte = 0; byte < original.size(); ++byte) {
            for (const u8 change : {u8{0xFF}, u8{0x01}}) {
                std::vector<u8> changed = original;
                changed[byte] ^= change;
                Array<u8> bytes;
                ASSERT_TRUE(BeginLog(number, bytes) && FrameEntry(changed, bytes));
                ASSERT_FALSE(Recovered({bytes.begin(), bytes.end()}).empty());
                ASSERT_EQ(Books().books.Count(), 1u);
            }
        }
    }
}

TEST_F(JournalLog, SnapshotsThatAreCutAreNoSnapshotsOrOpen) {
    ASSERT_NO_FATAL_FAILURE(MakeLog());
    const std::vector<u8> whole = Bytes(snapshotPath);
    SnapshotHead head;
    ByteView book;
    ASSERT_TRUE(ReadSnapshotHead(whole, head, book));
    EXPECT_EQ(Narrow(head.path), "Book1");
    EXPECT_TRUE(head.untitled);
    for (std::size_t length = 0; length < whole.size(); length += length < 200 ? 1 : 97) {
        const ByteView cut(whole.data(), length);
        const u32 books = Books().books.Count();
        const bool opens = OpenSnapshot(cut);
        EXPECT_EQ(Books().books.Count(), books + opens);
        if (opens) RemoveBook(CurrentBook());
        ASSERT_EQ(Headless().boxes.Count(), 0u);
    }
}

}  // namespace
}  // namespace tally
