#include <gtest/gtest.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "platform/qt/QtDesktop.h"
#include "platform/qt/QtFonts.h"

namespace {

// Screens side by side, one of each resolution; the first is where everything opens.
constexpr char SCREENS[] = R"({"screens": [
    {"name": "96", "x": 0, "y": 0, "width": 1600, "height": 1200, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "120", "x": 1600, "y": 0, "width": 1600, "height": 1200, "logicalDpi": 120, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "144", "x": 3200, "y": 0, "width": 1600, "height": 1200, "logicalDpi": 144, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "168", "x": 4800, "y": 0, "width": 2000, "height": 1500, "logicalDpi": 168, "logicalBaseDpi": 96, "dpr": 1},
    {"name": "192", "x": 6800, "y": 0, "width": 2400, "height": 1600, "logicalDpi": 192, "logicalBaseDpi": 96, "dpr": 1}
]})";

bool DescribeScreens(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(SCREENS) == static_cast<qint64>(sizeof SCREENS - 1);
}

// What one test leaves unsaved is not offered back in the next.
class KeepsNothing : public testing::EmptyTestEventListener {
  public:
    explicit KeepsNothing(const QString& folder) : folder_(folder) {}
    void OnTestEnd(const testing::TestInfo&) override { QDir(folder_).removeRecursively(); }

  private:
    QString folder_;
};

}  // namespace

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    QTemporaryDir folder;
    // What a test leaves unsaved is not the user's.
    qputenv("XDG_STATE_HOME", folder.path().toUtf8());
    testing::UnitTest::GetInstance()->listeners().Append(new KeepsNothing(folder.filePath("tallyman")));
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        const QString path = folder.filePath(QStringLiteral("screens.json"));
        qputenv("QT_QPA_PLATFORM",
                DescribeScreens(path) ? "offscreen:configfile=" + path.toUtf8() : QByteArray("offscreen"));
    }
    tally::OpenDesktop(count, arguments);
    // The screens have their resolutions once their first events are through.
    QCoreApplication::processEvents();
    tally::DropFrameFont();
    const int result = RUN_ALL_TESTS();
    tally::CloseDesktop();
    return result;
}
