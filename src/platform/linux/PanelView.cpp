#include "platform/linux/PanelView.h"

#include <QQmlEngine>

namespace lumivane {

PanelView::PanelView(const PanelRequest& request, QScreen& screen, const QRect& area,
                     QObject& owner)
    : QObject(&owner) {
    // Out of the window manager's reach a window has no desktop of its own, stands above
    // full-screen windows and is never made the active one.
    Qt::WindowFlags flags =
        Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::BypassWindowManagerHint;
    flags.setFlag(Qt::WindowTransparentForInput, !request.isInteractive);
    m_window.setFlags(flags);
    m_window.setTitle(PanelView::title);
    m_window.setProperty("_q_showWithoutActivating", true);
    m_window.setColor(Qt::transparent);
    m_window.setScreen(&screen);
    m_window.setGeometry(area);
    m_window.setMinimumSize(area.size());
    m_window.setMaximumSize(area.size());
}

PanelView::~PanelView() { m_window.removeEventFilter(this); }

void PanelView::fill(QQmlComponent& component, std::shared_ptr<QObject> model) {
    m_model = std::move(model);
    QQmlEngine::setObjectOwnership(m_model.get(), QQmlEngine::CppOwnership);
    m_context = std::make_unique<QQmlContext>(component.engine()->rootContext());
    QObject* object =
        component.createWithInitialProperties({{u"model"_qs, QVariant::fromValue(m_model.get())},
                                               {u"width"_qs, m_window.width()},
                                               {u"height"_qs, m_window.height()}},
                                              m_context.get());
    auto* item = qobject_cast<QQuickItem*>(object);
    Q_ASSERT_X(item != nullptr, "PanelView", qPrintable(component.errorString()));
    if (item == nullptr) {
        delete object;
        return;
    }
    m_item.reset(item);
    item->setParentItem(m_window.contentItem());
    // A window whose monitor goes comes under the scale of another one, though it keeps its pixels.
    item->setTransformOrigin(QQuickItem::TopLeft);
    connect(&m_window, &QWindow::screenChanged, item,
            [this, item, scale = m_window.devicePixelRatio()] {
                item->setScale(scale / m_window.devicePixelRatio());
            });
}

void PanelView::close() {
    m_window.installEventFilter(this);
    deleteLater();
}

bool PanelView::eventFilter(QObject* /*watched*/, QEvent* /*event*/) { return true; }

} // namespace lumivane
