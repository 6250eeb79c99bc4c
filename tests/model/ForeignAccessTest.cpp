#include "model/ForeignAccess.h"

#include <vector>

#include "model/Trust.h"
#include "platform/headless/HeadlessPlatform.h"
#include "support/Sandbox.h"

namespace tally {
namespace {

// What reached the platform, in order.
std::vector<std::string> reached;

int someHandle;
const ForeignTable counting = {
    [](WideView path) { return reached.push_back("delete " + Narrow(path)), true; },
    [](WideView pattern, u32 limit, Array<WideText>&) {
        return reached.push_back("list " + Narrow(pattern) + " " + std::to_string(limit)), true;
    },
    [](WideView line, ShowState show) {
        return reached.push_back("start " + Narrow(line) + " " + std::to_string(show)), u32{77};
    },
    [](WideView path) { return reached.push_back("load " + Narrow(path)), LibraryHandle{&someHandle}; },
    [](LibraryHandle, WideView name) {
        return reached.push_back("find " + Narrow(name)), LibraryProcedure([] {});
    },
    [](LibraryHandle) { reached.push_back("free"); },
};

ReadOutcome CountRead(const FileRequest& request, Array<u8>&, FileStamp*) {
    reached.push_back((request.foreign ? "read " : "own read ") + Narrow(request.path));
    return READ_GOOD;
}
OutputHandle CountCreate(WideView path) { return reached.push_back("create " + Narrow(path)), 5; }

class ForeignAccess : public Sandbox {
  protected:
    void SetUp() override {
        Sandbox::SetUp();
        reached.clear();
        SetForeignPlatform(&counting);
        platform = Platform();
        platform.readPlainFile = CountRead;
        platform.createFile = CountCreate;
        SetPlatform(&platform);
        CurrentSheet()->kind = SHEET_MACRO;
    }
    void Answer(i32 answer) {
        Headless().boxes.Clear();
        Headless().answers.Clear();
        Headless().answersUsed = 0;
        for (u32 i = 0; i < 8; ++i) ASSERT_TRUE(Headless().answers.Append(answer));
    }
    PlatformTable platform = {};
};

struct Way {
    const char* name;
    ForeignUse use;
    bool (*run)(const char16_t* path);  // whether it succeeded
    const char* trace;                  // with the path "a"
};
constexpr Way ways[] = {
    {"read", FOREIGN_READ,
     [](const char16_t* path) {
         FileRequest request;
         request.path = path;
         Array<u8> out;
         return ReadForeignFile(0, request, out) == READ_GOOD;
     },
     "read a"},
    {"create", FOREIGN_WRITE, [](const char16_t* path) { return CreateForeignFile(0, path) == 5; }, "create a"},
    {"delete", FOREIGN_DELETE, [](const char16_t* path) { return DeleteForeignFile(0, path); }, "delete a"},
    {"list", FOREIGN_READ,
     [](const char16_t* path) {
         Array<WideText> names;
         return ListForeignFolder(0, path, 256, names);
     },
     "list a 256"},
    {"start", FOREIGN_PROGRAM,
     [](const char16_t* path) { return StartForeignProgram(0, path, SW_SHOWMAXIMIZED) == 77; }, "start a 3"},
    {"load", FOREIGN_LIBRARY,
     [](const char16_t* path) { return LoadForeignLibrary(0, 0, path) == &someHandle; }, "load a"},
};

TEST_F(ForeignAccess, NothingReachesThePlatformThroughAClosedGate) {
    Headless().trust = TRUST_CLOSED;
    for (const Way& way : ways) EXPECT_FALSE(way.run(u"a")) << way.name;
    Headless().trust = TRUST_OPEN;
    CloseTrust(true);
    for (const Way& way : ways) EXPECT_FALSE(way.run(u"a")) << way.name;
    EXPECT_TRUE(reached.empty());
    EXPECT_EQ(Headless().boxes.Count(), 0u);
}

TEST_F(ForeignAccess, AnOpenGateLetsEachThroughOnceAsItWasMeant) {
    Headless().trust = TRUST_OPEN;
    for (const Way& way : ways) {
        reached.clear();
        EXPECT_TRUE(way.run(u"a")) << way.name;
        EXPECT_EQ(reached, std::vector<std::string>{way.trace}) << way.name;
    }
}

TEST_F(ForeignAccess, EachIsAskedForUnderItsOwnUse) {
    Headless().trust = TRUST_ASK;
    for (const Way& way : ways) {
        for (u8 use = 0; use < FOREIGN_USES; ++use)
            CurrentWorkbook()->trust[use] = use == way.use ? TRUST_GRANTED : TRUST_REFUSED;
        EXPECT_TRUE(way.run(u"a")) << way.name;
        for (u8 use = 0; use < FOREIGN_USES; ++use)
            CurrentWorkbook()->trust[use] = use == way.use ? TRUST_REFUSED : TRUST_GRANTED;
        EXPECT_FALSE(way.run(u"a")) << way.name;
        for (u8 use = 0; use < FOREIGN_USES; ++use) CurrentWorkbook()->trust[use] = TRUST_NOT_ASKED;
        reached.clear();
        Answer(IDNO);
        EXPECT_FALSE(way.run(u"a")) << way.name;
        EXPECT_TRUE(reached.empty()) << way.name;
        EXPECT_EQ(Headless().boxes.Count(), 1u) << way.name;
    }
}

TEST_F(ForeignAccess, OtherMachinesAndNoPathAreRefusedBeforeAnybodyIsAsked) {
    for (const TrustState state : {TRUST_ASK, TRUST_OPEN}) {
        Headless().trust = state;
        Answer(IDYES);
        for (const char16_t* path :
             {u"\\\\host\\share\\a", u"//host/a", u"smb://host/a", u"\"//host/a b\" c", u"  \\\\host\\a"}) {
            for (const Way& way : ways) {
                const bool isLine = path[0] == u'"' || path[0] == u' ';
                if (isLine != (way.use == FOREIGN_PROGRAM) && isLine) continue;
                EXPECT_FALSE(way.run(path)) << way.name << Narrow(path);
            }
        }
        for (const Way& way : ways)
            if (std::string_view(way.name) != "list") EXPECT_FALSE(way.run(u"")) << way.name;
        EXPECT_FALSE(StartForeignProgram(0, u"  \"\" x", SW_SHOWNORMAL));
        EXPECT_EQ(Headless().boxes.Count(), 0u);
        EXPECT_TRUE(reached.empty());
    }
    // Its arguments are the program's own affair.
    Headless().trust = TRUST_OPEN;
    EXPECT_EQ(StartForeignProgram(0, u"\"my browser\" http://host/", SW_SHOWNORMAL), 77u);
}

TEST_F(ForeignAccess, AFolderWithoutAPatternIsListedWhole) {
    Headless().trust = TRUST_OPEN;
    Array<WideText> names;
    EXPECT_TRUE(ListForeignFolder(0, u"", 3, names));
    EXPECT_EQ(reached, std::vector<std::string>{"list *.* 3"});
}

TEST_F(ForeignAccess, WorksheetsFindLibrariesClosed) {
    Headless().trust = TRUST_OPEN;
    for (const u16 kind : {SHEET_WORKSHEET, SHEET_CHART, SHEET_MODULE}) {
        CurrentSheet()->kind = kind;
        EXPECT_EQ(LoadForeignLibrary(0, 0, u"a"), nullptr) << kind;
    }
    CurrentSheet()->kind = SHEET_MACRO;
    for (const i32 sheet : {-1, 1000}) EXPECT_EQ(LoadForeignLibrary(0, sheet, u"a"), nullptr) << sheet;
    EXPECT_EQ(LoadForeignLibrary(-1, 0, u"a"), nullptr);
    EXPECT_TRUE(reached.empty());
}

TEST_F(ForeignAccess, ALoadedLibraryNeedsNoSecondQuestion) {
    Headless().trust = TRUST_OPEN;
    const LibraryHandle library = LoadForeignLibrary(0, 0, u"a");
    Headless().trust = TRUST_CLOSED;
    EXPECT_NE(FindForeignProcedure(library, u"add"), nullptr);
    EXPECT_EQ(FindForeignProcedure(library, u""), nullptr);
    FreeForeignLibrary(library);
    EXPECT_EQ(FindForeignProcedure(nullptr, u"add"), nullptr);
    FreeForeignLibrary(nullptr);
    EXPECT_EQ(reached, (std::vector<std::string>{"load a", "find add", "free"}));
}

// What stood in the caller's bytes before is gone, whatever the answer.
TEST_F(ForeignAccess, ARefusedReadLeavesNoBytes) {
    for (const i32 answer : {i32{IDNO}, i32{IDYES}}) {
        CurrentWorkbook()->trust[FOREIGN_READ] = TRUST_NOT_ASKED;
        Headless().trust = TRUST_ASK;
        Answer(answer);
        Array<u8> out;
        ASSERT_TRUE(out.Append(u8{1}) && out.Append(u8{2}));
        FileRequest request;
        request.path = u"a";
        EXPECT_EQ(ReadForeignFile(0, request, out), answer == IDYES ? READ_GOOD : READ_REFUSED);
        EXPECT_TRUE(out.IsEmpty());
    }
}

}  // namespace
}  // namespace tally
