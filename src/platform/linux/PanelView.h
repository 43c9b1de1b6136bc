#pragma once

#include "platform/PanelHost.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>

namespace lumivane {

/// A view in a window that takes no focus, has no frame and keeps its size. Main thread only.
///
/// Once it is closed nothing that the user or the desktop does reaches the view any more; its
/// objects go at the next turn of the event loop, since it may be in the middle of a call.
class PanelView final : public QObject {
public:
    /// What the desktop and assistive technology call the window; nobody sees it written.
    static inline const QString title = u"Lumivane"_qs;

    /// `area` is in the toolkit's own coordinates and lies on `screen`.
    PanelView(const PanelRequest& request, QScreen& screen, const QRect& area, QObject& owner);
    ~PanelView() override;

    /// Makes the view from a component that is ready.
    void fill(QQmlComponent& component, std::shared_ptr<QObject> model);

    QQuickWindow& window() { return m_window; }

    void close();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The last to go first: the view, then what it speaks to.

    std::shared_ptr<QObject> m_model;
    QQuickWindow m_window;
    std::unique_ptr<QQuickItem> m_item;
    std::unique_ptr<QQmlContext> m_context; ///< without it no handler of the view runs
};

} // namespace lumivane
