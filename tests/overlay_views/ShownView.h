#pragma once

#include "overlays/OverlayViews.h"
#include "platform/AccessibilitySettings.h"

#include <QAccessible>
#include <QImage>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

#include <memory>
#include <vector>

namespace lumivane::test {

/// What a test says that the desktop's user needs.
class NeedsOfAUser final : public AccessibilitySettings {
public:
    bool reduceMotion() const override { return m_reduceMotion; }

    bool reduceTransparency() const override { return m_reduceTransparency; }

    void setReduceMotion(bool reduceMotion) {
        m_reduceMotion = reduceMotion;
        Q_EMIT changed();
    }

    void setReduceTransparency(bool reduceTransparency) {
        m_reduceTransparency = reduceTransparency;
        Q_EMIT changed();
    }

private:
    bool m_reduceMotion = false;
    bool m_reduceTransparency = false;
};

/// One element, as assistive technology finds it.
struct SpokenElement {
    QAccessible::Role role;
    QString name;
    QString description;
};

/// A view with its model in a window of its own, as a panel would show it.
class ShownView {
public:
    ShownView(const QUrl& view, std::shared_ptr<QObject> model, QSize size);
    ~ShownView();

    QQuickItem* root() const { return m_root; }

    QQuickWindow& window() { return *m_window; }

    NeedsOfAUser& needs() { return m_needs; }

    /// The first item of a name, or of a type of the views; none where there is none.
    QQuickItem* item(const QString& objectName) const;
    QQuickItem* itemOfType(const char* type) const;
    bool shows(const QString& text) const;
    QQuickItem* textItem(const QString& text) const;

    /// Where an item's middle lies in the window.
    QPoint middle(const QQuickItem* item) const;
    QRectF place(const QQuickItem* item) const;
    void click(QPoint point);

    void click(const QQuickItem* item) { click(middle(item)); }

    void drag(QPoint from, QPoint to);
    void turnWheel(QPoint point, int notches);

    /// The elements below the view's own, depth first, the view's own included.
    std::vector<SpokenElement> spoken() const;
    QAccessibleInterface* spokenElement(const QString& name) const;

    /// The picture of the view; its transparency is kept.
    QImage picture() const;

    /// Delivers layout and drawing.
    void settle();

private:
    NeedsOfAUser m_needs;
    std::shared_ptr<QObject> m_model;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    QQuickItem* m_root = nullptr;
};

} // namespace lumivane::test
