#include "support/RunTestsOnX.h"

#include "support/PanelDesktop.h"

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

} // namespace lumivane::test
