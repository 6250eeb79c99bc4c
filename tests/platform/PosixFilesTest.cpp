#include "platform/posix/PosixFiles.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "base/Text.h"

namespace tally {
namespace {

namespace fs = std::filesystem;

std::u16string Wide(const fs::path& path) { return path.u16string(); }

std::string Content(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

class PosixFiles : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tallyman-files-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        ResetPosixFiles();
        fs::permissions(folder, fs::perms::owner_all);
        fs::remove_all(folder);
    }
    void Put(const fs::path& path, std::string_view text) { std::ofstream(path, std::ios::binary) << text; }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }
    fs::path folder;
};

TEST_F(PosixFiles, WrittenBytesAppearOnlyOnAGoodClose) {
    const fs::path path = folder / "book.xls";
    Put(path, "old");
    const OutputHandle file = PosixCreateFile(Wide(path));
    ASSERT_NE(file, 0);
    ASSERT_TRUE(PosixWriteFile(file, "new text", 8));
    EXPECT_EQ(Content(path), "old");
    ASSERT_TRUE(PosixCloseFile(file));
    EXPECT_EQ(Content(path), "new text");
    EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(PosixFiles, AbandonedOutputLeavesTheOldFileAndNothingBeside) {
    const fs::path path = folder / "book.xls";
    Put(path, "old");
    const OutputHandle file = PosixCreateFile(Wide(path));
    ASSERT_TRUE(PosixWriteFile(file, "new", 3));
    PosixAbandonFile(file);
    EXPECT_EQ(Content(path), "old");
    EXPECT_EQ(FilesInFolder(), 1u);
    EXPECT_FALSE(PosixCloseFile(file));
}

TEST_F(PosixFiles, PatchReachesWrittenBytesOnly) {
    const fs::path path = folder / "book.xls";
    const OutputHandle file = PosixCreateFile(Wide(path));
    const std::string block(100000, 'a');
    ASSERT_TRUE(PosixWriteFile(file, block.data(), block.size()));
    ASSERT_TRUE(PosixPatchFile(file, 99998, "zz", 2));
    EXPECT_FALSE(PosixPatchFile(file, 99999, "zz", 2));
    ASSERT_TRUE(PosixPatchFile(file, 0, "y", 1));
    ASSERT_TRUE(PosixWriteFile(file, "end", 3));
    ASSERT_TRUE(PosixCloseFile(file));
    EXPECT_EQ(Content(path), "y" + std::string(99997, 'a') + "zzend");
}

TEST_F(PosixFiles, KeepsTheModeOfTheFileAndTheLinkThatLeadsToIt) {
    const fs::path target = folder / "target.xls";
    const fs::path link = folder / "link.xls";
    Put(target, "old");
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    fs::create_symlink(target, link);
    const OutputHandle file = PosixCreateFile(Wide(link));
    ASSERT_TRUE(PosixWriteFile(file, "new", 3));
    ASSERT_TRUE(PosixCloseFile(file));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(Content(target), "new");
    struct stat status = {};
    ASSERT_EQ(stat(target.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(PosixFiles, ReadsAFileOfAnyLengthAndRefusesAFolder) {
    const fs::path path = folder / "bytes";
    for (std::size_t length : {0u, 1u, 65536u, 200001u}) {
        Put(path, std::string(length, 'x'));
        Array<u8> bytes;
        ASSERT_TRUE(PosixReadFile(Wide(path), bytes));
        EXPECT_EQ(bytes.Count(), length);
    }
    Array<u8> bytes;
    EXPECT_FALSE(PosixReadFile(Wide(folder), bytes));
    EXPECT_FALSE(PosixReadFile(Wide(folder / "absent"), bytes));
    EXPECT_FALSE(PosixFileExists(Wide(folder)));
    EXPECT_TRUE(PosixFileExists(Wide(path)));
}

TEST_F(PosixFiles, NoOutputInAFolderThatIsNotThereOrOntoAFolder) {
    EXPECT_EQ(PosixCreateFile(Wide(folder / "absent" / "book.xls")), 0);
    EXPECT_EQ(PosixCreateFile(Wide(folder)), 0);
    EXPECT_EQ(PosixCreateFile(u""), 0);
    EXPECT_FALSE(PosixWriteFile(77, "x", 1));
}

// A device of its own where the user could replace the system's by a fault that this looks for.
TEST_F(PosixFiles, ADeviceIsWrittenThrough) {
    fs::path device = "/dev/full";
    if (geteuid() == 0) {
        device = folder / "full";
        if (mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0 || !std::ofstream(device))
            GTEST_SKIP() << "no devices here";
    }
    const OutputHandle file = PosixCreateFile(Wide(device));
    ASSERT_NE(file, 0);
    ASSERT_TRUE(PosixWriteFile(file, "x", 1));
    EXPECT_FALSE(PosixCloseFile(file));
    EXPECT_TRUE(fs::is_character_file(device));
}

}  // namespace
}  // namespace tally
