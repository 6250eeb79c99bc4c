#include <gtest/gtest.h>

#include <QByteArray>

#include "platform/qt/QtDesktop.h"

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    tally::OpenDesktop(count, arguments);
    const int result = RUN_ALL_TESTS();
    tally::CloseDesktop();
    return result;
}
