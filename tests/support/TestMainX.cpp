#include "support/PanelDesktop.h"

#include <QApplication>
#include <QQuickWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string_view>

namespace {

bool onlyListsTests(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](std::string_view argument) {
        return argument.starts_with("--gtest_list_tests");
    });
}

} // namespace

// The application stands on an X server of this program's own, which ends after it.
int main(int argc, char** argv) {
    std::unique_ptr<lumivane::test::XServer> server;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (!onlyListsTests(argc, argv)) {
        server = std::make_unique<lumivane::test::XServer>(QSize(1280, 800));
        qputenv("QT_QPA_PLATFORM", "xcb");
        qputenv("DISPLAY", server->displayName());
        // Where there is a display the toolkit would start a message bus and leave it behind.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        lumivane::test::PanelDesktop::setServer(server.get());
    }
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    const QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
