#pragma once
// The command-line program run as a program, in a folder of its own.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/BiffBuilder.h"

namespace tally {

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct Outcome {
    int status = -1;
    std::string output;  // of both streams
    std::vector<Json> Lines() const {
        std::vector<Json> lines;
        std::size_t start = 0;
        while (start < output.size()) {
            const std::size_t end = output.find('\n', start);
            lines.push_back(Json::parse(output.substr(start, end - start), nullptr, false));
            start = end == std::string::npos ? output.size() : end + 1;
        }
        return lines;
    }
};

class Tally : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tallyman-tally-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }

    // `before` stands in front of the program, such as a limit of its time.
    Outcome Run(const std::string& arguments, const std::string& before = {}) const {
        const std::string command = "cd '" + folder.string() + "' && TALLYMAN_LANGUAGE= LC_ALL=C " + before +
                                    "'" TALLY_PROGRAM "' " + arguments + " 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        Outcome outcome;
        if (!pipe) return outcome;
        char buffer[4096];
        for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            outcome.output.append(buffer, got);
        const int status = pclose(pipe);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }
    void Put(const std::string& name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
    }
    std::string Get(const std::string& name) const {
        std::ifstream in(folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    void PutBook(const std::string& name) const {
        BiffBuilder b;
        b.Globals({"First", "Second"});
        b.Bof(16)
            .Number(0, 0, 2)
            .Formula(0, 1, {0x44, 0, 0, 0, 0xC0, 0x1E, 3, 0, 5}, 6)
            .Formula(1, 1, {0x44, 0, 0, 0, 0xC0}, 9)
            .Eof();
        b.Bof(16).Label(2, 3, "here").Eof();
        const std::vector<u8> bytes = b.File();
        Put(name, std::string(bytes.begin(), bytes.end()));
    }
    fs::path folder;
};

}  // namespace tally
