#pragma once

#include "async/SystemClock.h"
#include "overlays/OverlayCoordinator.h"
#include "overlays/OverlayPasteboard.h"
#include "platform/linux/CompositorWatch.h"
#include "platform/linux/QtPasteboard.h"
#include "platform/linux/QuickPanelHost.h"
#include "platform/linux/ScreenScales.h"
#include "platform/linux/XcbDisplayServer.h"
#include "platform/linux/XcbHotKeyRegistrar.h"
#include "support/FakeAccessibilitySettings.h"
#include "support/FakeAnnouncer.h"
#include "support/ManualClock.h"
#include "support/PanelDesktop.h"
#include "support/XLoggingWindow.h"

#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <gtest/gtest.h>

#include <memory>

namespace lumivane::test {

/// The coordinator of the panels over everything that it stands on in the program, on a desktop of
/// its own. Only the hands of its clock are the test's. Main thread.
class OverlayRoad {
public:
    /// What is announced goes to `announcer`, or else is kept in `announced`.
    explicit OverlayRoad(PanelDesktop::Manager manager, Announcer* announcer = nullptr);

    // The panels, each drawn on return. A result takes the settings of the test.

    void showWorking();
    void showResult(ResultKind kind, const QString& text = u"the answer"_qs,
                    std::optional<bool> copiedToClipboard = std::nullopt);
    void showError(const QString& text = u"the failure"_qs);
    void showNotesStatus(const QString& message = u"the reason"_qs);
    void showLogin();
    void showEvicted();

    /// The windows of this program that are up, in the order in which they came.
    static std::vector<QQuickWindow*> panels();

    /// The one panel that is up.
    static QQuickWindow& panel();

    /// Runs the event loop until as many panels are up, and all that are up are drawn.
    static bool waitForPanels(std::size_t count);

    /// An item of a panel that is up and shows it, by its name; null where there is none.
    static QQuickItem* find(const QString& objectName);

    /// Where a window or an item lies on the screen, in pixels.
    QRect areaOf(QQuickWindow& window);
    QRect areaOf(const QQuickItem& item);

    /// Clicks in the middle of an item that has to be there.
    void click(const QString& objectName);

    /// Moves the pointer onto the panel, or away from it, and waits until the panel knows or is
    /// gone.
    void hover();
    void leave();

    /// What the panel says of the time that it has left.
    static QString remaining();

    /// What another program gets when it asks for a selection, such as "clipboard" or "primary".
    QByteArray selection(const QString& name, const QString& target = u"UTF8_STRING"_qs) const;

    /// A display by its place on the screen, in points from the top left corner.
    std::uint32_t displayAt(double x) const;

    PanelDesktop desktop;
    ScreenScales scales;
    XcbDisplayServer displays{[this](const QString& name) { return scales.scaleOf(name); }};
    XcbHotKeyRegistrar hotKeys;
    ManualClock clock;
    SystemClock paintingClock;
    FakeAccessibilitySettings needs;
    QQmlEngine engine;
    CompositorWatch compositor;
    QuickPanelHost host{displays, paintingClock, engine, compositor};
    QtPasteboard pasteboard;
    OverlayPasteboard overlayPasteboard{pasteboard};
    FakeAnnouncer announced;
    AppSettings settings;
    int logins = 0;
    OverlayCoordinator overlays;

private:
    bool waitForHover(bool isOver);
};

/// The same once with and once without a window manager.
class OverlayRoadTest : public OverlayRoad, public testing::TestWithParam<PanelDesktop::Manager> {
protected:
    explicit OverlayRoadTest(Announcer* announcer = nullptr)
        : OverlayRoad(GetParam(), announcer) {}

    /// Another program with the keyboard; what it saw of getting it is forgotten.
    std::unique_ptr<XLoggingWindow>
    otherProgram(const QRect& area = QRect(50, 50, 300, 200),
                 XLoggingWindow::Kind kind = XLoggingWindow::Kind::plain);

    /// What the other program sees of keys that are pressed and released in this order.
    std::vector<std::string> strokes(const std::vector<xcb_keysym_t>& keys);
};

inline const auto eachDesktop =
    testing::Values(PanelDesktop::Manager::none, PanelDesktop::Manager::openbox);

inline std::string nameOfDesktop(const testing::TestParamInfo<PanelDesktop::Manager>& each) {
    return each.param == PanelDesktop::Manager::none ? "WithoutManager" : "WithManager";
}

} // namespace lumivane::test
