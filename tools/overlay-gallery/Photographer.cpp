#include "Photographer.h"

#include "Backdrop.h"
#include "overlays/qml/OverlayViewsInstall.h"

#include <QCoreApplication>
#include <QPainter>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickRenderTarget>

#include <stdexcept>

namespace lumivane::tools {

void PosedAccessibilitySettings::setReduceTransparency(bool reduceTransparency) {
    if (m_reduceTransparency != reduceTransparency) {
        m_reduceTransparency = reduceTransparency;
        Q_EMIT changed();
    }
}

Photographer::Photographer()
    : m_window(std::make_unique<QQuickWindow>(&m_control)) {
    OverlayViews::install(m_settings);
    QObject::connect(&m_engine, &QQmlEngine::warnings, &m_engine,
                     [this](const QList<QQmlError>& warnings) {
                         for (const QQmlError& warning : warnings) {
                             m_complaints += warning.toString();
                         }
                     });
    m_window->setColor(Qt::transparent);
}

Photographer::~Photographer() = default;

void Photographer::render(QImage& image) {
    m_window->setRenderTarget(QQuickRenderTarget::fromPaintDevice(&image));
    image.fill(Qt::transparent);
    m_control.polishItems();
    m_control.sync();
    m_control.render();
}

QImage Photographer::panel(const Specimen& specimen) {
    m_settings.setReduceTransparency(specimen.reduceTransparency);
    const PanelContent content = specimen.makeContent({m_pasteboard, m_announcer});
    QQmlComponent component(&m_engine, content.view);
    if (!component.isReady()) {
        throw std::runtime_error(
            u"the view of %1 does not load: %2"_qs.arg(specimen.name, component.errorString())
                .toStdString());
    }
    const std::unique_ptr<QObject> object(component.createWithInitialProperties(
        {{u"model"_qs, QVariant::fromValue(content.model.get())}}));
    auto* item = qobject_cast<QQuickItem*>(object.get());
    if (item == nullptr) {
        throw std::runtime_error(u"the view of %1 is no item"_qs.arg(specimen.name).toStdString());
    }
    const QSizeF size(specimen.request.frame.width, specimen.request.frame.height);
    m_window->resize(size.toSize());
    m_window->contentItem()->setSize(size);
    item->setParentItem(m_window->contentItem());
    item->setSize(size);
    const double scale = m_window->devicePixelRatio();
    QImage image((size * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    // What a view puts off to a later turn is there by the second frame.
    render(image);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    render(image);
    if (!m_complaints.isEmpty()) {
        throw std::runtime_error(
            u"the view of %1 complains: %2"_qs.arg(specimen.name, m_complaints.join(u'\n'))
                .toStdString());
    }
    return image;
}

QImage Photographer::picture(const Specimen& specimen) {
    const QImage front = panel(specimen);
    const double scale = front.devicePixelRatio();
    const QSize size = QSizeF(specimen.request.frame.width, specimen.request.frame.height).toSize();
    QImage picture = backdrop(specimen.desktop, size + QSize(2 * margin, 2 * margin), scale);
    QPainter painter(&picture);
    painter.drawImage(QPointF(margin, margin), front);
    return picture;
}

} // namespace lumivane::tools
