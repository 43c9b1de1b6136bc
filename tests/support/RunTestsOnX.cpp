#include "support/RunTestsOnX.h"

#include "support/PanelDesktop.h"
#include "support/XTestProcess.h"

#include <QApplication>
#include <QQuickWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace lumivane::test {

bool onlyListsTests(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](std::string_view argument) {
        return argument.starts_with("--gtest_list_tests");
    });
}

namespace {

int runTestsBelow(const QProcessEnvironment& environment) {
    QProcess tests;
    tests.setProcessEnvironment(environment);
    tests.setProcessChannelMode(QProcess::ForwardedChannels);
    startInOwnGroup(tests, QCoreApplication::applicationFilePath(),
                    QCoreApplication::arguments().mid(1));
    tests.waitForFinished(-1);
    return tests.exitStatus() == QProcess::NormalExit ? tests.exitCode() : 1;
}

} // namespace

int runTestsOnX(int argc, char** argv) {
    std::unique_ptr<XServer> server;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!onlyListsTests(argc, argv)) {
        server = std::make_unique<XServer>(QSize(1280, 800));
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("DISPLAY", server->displayName());
        PanelDesktop::setServer(server.get());
    }
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

int runTestsOnXBeside(int argc, char** argv, const char* marker,
                      const std::function<int(const RunTests& runTests)>& besideIt) {
    if (qEnvironmentVariableIsSet(marker) || onlyListsTests(argc, argv)) {
        return runTestsOnX(argc, argv);
    }
    const QCoreApplication application(argc, argv);
    return besideIt(runTestsBelow);
}

} // namespace lumivane::test
