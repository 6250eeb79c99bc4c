#include "support/Golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace tally {

void ExpectGolden(const std::string& file, const std::string& text) {
    const std::string path = std::string(TALLYMAN_GOLDEN) + "/" + file;
    if (std::getenv("TALLYMAN_RENEW_GOLDEN")) {
        std::ofstream(path, std::ios::binary) << text;
        return;
    }
    std::ifstream kept(path, std::ios::binary);
    const std::string before{std::istreambuf_iterator<char>(kept), {}};
    ASSERT_FALSE(before.empty()) << path;
    std::istringstream expectedLines(before), foundLines(text);
    std::string expected, found;
    for (int line = 1; std::getline(expectedLines, expected); ++line) {
        ASSERT_TRUE(std::getline(foundLines, found))
            << path << " goes on at line " << line << " with " << expected;
        ASSERT_EQ(found, expected) << path << " line " << line;
    }
    EXPECT_FALSE(std::getline(foundLines, found)) << path << " ends before " << found;
}

}  // namespace tally
