#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    // The build lists the tests of a program by running it, on machines without a display too.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
