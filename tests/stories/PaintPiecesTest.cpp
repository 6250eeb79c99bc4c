// A window painted piece by piece shows what it shows when it is painted at once.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "model/BookTable.h"
#include "platform/headless/HeadlessPlatform.h"
#include "raster/Raster.h"
#include "shell/commands/Commands.h"
#include "shell/grid/Layout.h"
#include "shell/selection/Selection.h"
#include "support/ShellSandbox.h"

namespace tally {
namespace {

class PaintPiecesStory : public ShellSandbox {
  protected:
    static constexpr i32 WIDTH = 620, HEIGHT = 400;

    void SetUp() override {
        ShellSandbox::SetUp();
        HeadlessFrame().width = WIDTH;
        HeadlessFrame().height = HEIGHT;
        ASSERT_TRUE(MakePicture(whole, WIDTH, HEIGHT, 0) && MakePicture(pieces, WIDTH, HEIGHT, 0));
        RefreshChrome();
    }
    static void Replay(Picture& picture) {
        RasterSurface surface{&picture, &HeadlessFonts()};
        DrawTarget target = MakeRasterTarget(surface);
        ReplayDrawing(HeadlessFrame().drawing, target);
    }
    // Where the two pictures differ first; empty when they do not.
    std::string Difference() {
        PaintHeadless();
        Replay(whole);
        for (i32 y = 0; y < HEIGHT; y += 61) {
            for (i32 x = 0; x < WIDTH; x += 97) {
                PaintHeadlessPart({x, y, std::min(x + 97, WIDTH), std::min(y + 61, HEIGHT)});
                Replay(pieces);
            }
        }
        for (i32 y = 0; y < HEIGHT; ++y)
            for (i32 x = 0; x < WIDTH; ++x)
                if (PixelAt(whole, x, y) != PixelAt(pieces, x, y))
                    return std::to_string(x) + "," + std::to_string(y);
        return "";
    }

    Picture whole, pieces;
};

TEST_F(PaintPiecesStory, ASheetOfEverything) {
    Enter("A1", "a text that runs over its neighbours");
    Enter("B3", "123456.789");
    Enter("C4", "TRUE");
    ASSERT_TRUE(CurrentSheet()->mergedAreas.Append(AreaOf("D5", "F9")));
    Enter("D5", "merged");
    for (const char* view : {"A1", "C3"}) {
        Select(view);
        if (view[0] == 'C') PickCommand(423);
        SelectArea(AreaOf("B2", "E6"), true, 1, 1, false);
        EXPECT_EQ(Difference(), "") << view;
    }
}

TEST_F(PaintPiecesStory, BooksOfOthers) {
    const char* folder = std::getenv("TALLYMAN_CORPUS");
    if (!folder) GTEST_SKIP() << "TALLYMAN_CORPUS is not set";
    Headless().filesInMemory = false;
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".xls" && entry.file_size() < 200000)
            paths.push_back(entry.path().string());
    std::sort(paths.begin(), paths.end());
    int seen = 0;
    for (std::size_t i = 0; i < paths.size(); i += 8) {
        if (!OpenBookFile(Wide(paths[i]), false) || !HasCells(CurrentSheet())) continue;
        CurrentSheet()->zoomPercent = i % 16 ? 100 : 130;
        RefreshChrome();
        EXPECT_EQ(Difference(), "") << paths[i];
        ++seen;
    }
    EXPECT_GT(seen, 20);
}

}  // namespace
}  // namespace tally
