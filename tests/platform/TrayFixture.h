#pragma once

#include "async/SystemClock.h"
#include "domain/LumivaneDisplayState.h"
#include "platform/linux/TrayStatusBar.h"
#include "support/EventLoop.h"
#include "support/NotifierTray.h"
#include "support/PanelDesktop.h"
#include "support/PrivateBus.h"
#include "support/TrayPrograms.h"

#include <QApplication>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>
#include <QWindow>

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace lumivane::test {

inline const QRgb restingColor = qRgb(108, 217, 216);
inline const QRgb capturingColor = qRgb(86, 231, 149);

inline QRgb colorOf(LumivaneDisplayState state) {
    switch (state) {
    case LumivaneDisplayState::resting:
        return restingColor;
    case LumivaneDisplayState::capturing:
        return capturingColor;
    case LumivaneDisplayState::paused:
        return qRgb(150, 150, 150);
    }
    Q_UNREACHABLE();
}

/// An icon of the state's colour in all sizes: a frame with soft edges, a dot in it, and nothing
/// in between.
inline std::vector<QImage> iconOf(LumivaneDisplayState state) {
    std::vector<QImage> images;
    for (const int edge : {16, 22, 24, 32, 48, 64}) {
        QImage image(edge, edge, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(colorOf(state)), edge / 6.0));
        painter.drawRoundedRect(QRectF(image.rect()).adjusted(2, 2, -2, -2), 3, 3);
        painter.setBrush(QColor(colorOf(state)));
        painter.drawEllipse(QRectF(image.rect()).center(), edge / 16.0, edge / 16.0);
        images.push_back(image);
    }
    return images;
}

/// What a stretch of the test takes of real time; the limits are bounds for what would wait.
class Stopwatch {
public:
    bool isBelow(std::chrono::milliseconds limit) const { return m_clock.now() - m_start < limit; }

private:
    SystemClock m_clock;
    MonotonicInstant m_start = m_clock.now();
};

/// An icon with a menu of three lines, on a desktop whose trays the test chooses.
class TrayTest : public testing::Test {
protected:
    /// The toolkit asks for a watcher once in a process, when it first makes an icon, and waits for
    /// its answer on the main thread: here, where the trays of the tests live. So it asks before
    /// there is one.
    static void SetUpTestSuite() { const QSystemTrayIcon decided; }

    ~TrayTest() override {
        item.reset();
        // What was let go of in the middle of a call goes now.
        drainEvents();
    }

    void makeItem() {
        item = bar.statusItem();
        item->onPrimaryClick = [this](ClickModifier modifier) { clicks.push_back(modifier); };
        item->onMenuWillOpen = [this] { ++openings; };
        item->setToolTip(u"Lumivane — Resting"_qs);
        item->setAccessibility(u"Lumivane"_qs, u"Resting"_qs);
        item->setMenu([this] { return lines(); });
        item->setImages(iconOf(LumivaneDisplayState::resting));
    }

    std::vector<StatusMenuItem> lines() {
        return {{pauseTitle, true, [this] { chosen << pauseTitle; }},
                {},
                {u"Copy"_qs, canCopy, [this] { chosen << u"Copy"_qs; }}};
    }

    /// The menu on screen; none within the limit fails the test.
    QMenu* shownMenu() {
        const auto find = [] { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); };
        EXPECT_TRUE(waitUntil([&] { return find() != nullptr; }));
        return find();
    }

    static QStringList titles(const QMenu& menu) {
        QStringList found;
        for (const QAction* action : menu.actions()) {
            found << (action->isSeparator() ? u"-"_qs : action->text());
        }
        return found;
    }

    PanelDesktop desktop;
    TrayStatusBar bar{QDBusConnection::sessionBus()};
    QString pauseTitle = u"Pause"_qs;
    bool canCopy = false;
    QStringList chosen;
    std::vector<ClickModifier> clicks;
    int openings = 0;
    std::unique_ptr<StatusItem> item;
};

} // namespace lumivane::test
