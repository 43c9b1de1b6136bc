#include "integration/OverlayRoad.h"

#include "overlays/OverlayViews.h"
#include "overlays/qml/OverlayViewsInstall.h"
#include "support/EventLoop.h"
#include "support/XTestProcess.h"

#include <QGuiApplication>
#include <QProcess>

#include <algorithm>
#include <stdexcept>

namespace lumivane::test {

namespace {

QQuickItem* findBelow(QQuickItem* item, const QString& objectName) {
    if (item->objectName() == objectName && item->isVisible()) {
        return item;
    }
    for (QQuickItem* child : item->childItems()) {
        if (QQuickItem* found = findBelow(child, objectName)) {
            return found;
        }
    }
    return nullptr;
}

/// Whether the view itself feels the pointer.
bool isHovered(const QQuickWindow& window) {
    const auto parts = window.contentItem()->childItems().constFirst()->children();
    return std::any_of(parts.begin(), parts.end(), [](const QObject* part) {
        return part->inherits("QQuickHoverHandler") && part->property("hovered").toBool();
    });
}

} // namespace

OverlayRoad::OverlayRoad(PanelDesktop::Manager manager, Announcer* announcer)
    : desktop(manager)
    , pasteboard(*QGuiApplication::clipboard())
    , overlays(host, hotKeys, displays, announcer != nullptr ? *announcer : announced,
               overlayPasteboard, clock) {
    OverlayViews::install(needs);
    engine.addImportPath(OverlayViews::importPath);
}

void OverlayRoad::showWorking() {
    const auto before = panels().size();
    overlays.showWorking(displayAt(0), settings);
    EXPECT_TRUE(waitForPanels(before + 1));
}

void OverlayRoad::showResult(ResultKind kind, const QString& text,
                             std::optional<bool> copiedToClipboard) {
    overlays.clearResult();
    drainEvents();
    const auto before = panels().size();
    overlays.showResult(text, kind, std::nullopt, std::nullopt, displayAt(0), settings,
                        copiedToClipboard);
    EXPECT_TRUE(waitForPanels(before + 1));
}

void OverlayRoad::showError(const QString& text) {
    overlays.clearResult();
    drainEvents();
    const auto before = panels().size();
    overlays.showError(text, displayAt(0), settings);
    EXPECT_TRUE(waitForPanels(before + 1));
}

void OverlayRoad::showNotesStatus(const QString& message) {
    const auto before = panels().size();
    overlays.showNotesStatus(message, displayAt(0), settings);
    EXPECT_TRUE(waitForPanels(before + 1));
}

void OverlayRoad::showLogin() {
    const auto before = panels().size();
    overlays.showAuthenticationRequired(displayAt(0), settings, [this] { ++logins; });
    EXPECT_TRUE(waitForPanels(before + 1));
}

void OverlayRoad::showEvicted() {
    const auto before = panels().size();
    overlays.showDeviceEvicted(displayAt(0), DeviceEvictedOrigin::afterUpload, settings,
                               [this] { ++logins; });
    EXPECT_TRUE(waitForPanels(before + 1));
}

std::vector<QQuickWindow*> OverlayRoad::panels() {
    std::vector<QQuickWindow*> found;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        auto* panel = qobject_cast<QQuickWindow*>(window);
        if (panel != nullptr && panel->isVisible()) {
            found.push_back(panel);
        }
    }
    return found;
}

QQuickWindow& OverlayRoad::panel() {
    const auto all = panels();
    if (all.size() != 1) {
        throw std::runtime_error(std::to_string(all.size()) + " panels are up");
    }
    return *all.front();
}

bool OverlayRoad::waitForPanels(std::size_t count) {
    return waitUntil([count] {
        drainEvents(); // takes what is closed away
        // The toolkit draws a window while it says that it is exposed.
        const auto all = panels();
        return all.size() == count && std::all_of(all.begin(), all.end(), [](QQuickWindow* each) {
                   return each->isExposed();
               });
    });
}

QQuickItem* OverlayRoad::find(const QString& objectName) {
    for (const QQuickWindow* window : panels()) {
        if (QQuickItem* found = findBelow(window->contentItem(), objectName)) {
            return found;
        }
    }
    return nullptr;
}

QRect OverlayRoad::areaOf(QQuickWindow& window) {
    return desktop.areaOf(static_cast<xcb_window_t>(window.winId()));
}

QRect OverlayRoad::areaOf(const QQuickItem& item) {
    const double scale = item.window()->devicePixelRatio();
    const QRectF inPanel = item.mapRectToScene(QRectF(QPointF(), item.size()));
    return QRectF(inPanel.topLeft() * scale, inPanel.size() * scale)
        .toAlignedRect()
        .translated(areaOf(*item.window()).topLeft());
}

void OverlayRoad::click(const QString& objectName) {
    QQuickItem* item = find(objectName);
    if (item == nullptr) {
        throw std::runtime_error("nothing is called " + objectName.toStdString());
    }
    item->window()->grabWindow(); // lays out what has come since it was drawn
    desktop.click(areaOf(*item).center());
}

void OverlayRoad::hover() {
    desktop.movePointer(areaOf(panel()).center());
    EXPECT_TRUE(waitForHover(true));
}

void OverlayRoad::leave() {
    desktop.movePointer({1, 1});
    EXPECT_TRUE(waitForHover(false));
}

bool OverlayRoad::waitForHover(bool isOver) {
    return waitUntil([isOver] {
        drainEvents();
        return panels().empty() || isHovered(panel()) == isOver;
    });
}

QString OverlayRoad::remaining() {
    const QQuickItem* label = find(u"remaining"_qs);
    return label != nullptr ? label->property("text").toString() : QString();
}

QByteArray OverlayRoad::selection(const QString& name, const QString& target) const {
    QProcess process;
    startInOwnGroup(process, u"xclip"_qs,
                    {u"-selection"_qs, name, u"-out"_qs, u"-target"_qs, target});
    // This program is the one that answers.
    waitUntil([&process] { return process.state() == QProcess::NotRunning; });
    endGroup(process);
    return process.readAllStandardOutput();
}

std::uint32_t OverlayRoad::displayAt(double x) const {
    for (const DisplayInfo& display : displays.displays()) {
        if (display.frame.minX() <= x && x < display.frame.maxX()) {
            return display.displayID;
        }
    }
    throw std::runtime_error("no display is there");
}

std::unique_ptr<XLoggingWindow> OverlayRoadTest::otherProgram(const QRect& area,
                                                              XLoggingWindow::Kind kind) {
    auto window = std::make_unique<XLoggingWindow>(desktop.server().displayName(), area, kind);
    if (GetParam() == PanelDesktop::Manager::none) {
        window->takeFocus();
    } else {
        EXPECT_TRUE(waitUntil([&] { return window->hasFocus(); }));
    }
    window->takeEvents();
    return window;
}

std::vector<std::string> OverlayRoadTest::strokes(const std::vector<xcb_keysym_t>& keys) {
    std::vector<std::string> events;
    for (const xcb_keysym_t key : keys) {
        const std::string code = std::to_string(desktop.keycodeOf(key));
        events.push_back("key " + code + " down");
        events.push_back("key " + code + " up");
    }
    return events;
}

} // namespace lumivane::test
