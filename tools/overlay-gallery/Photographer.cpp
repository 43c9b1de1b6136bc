#include "Photographer.h"

#include "Backdrop.h"
#include "overlays/qml/OverlayViewsInstall.h"
#include "platform/linux/PanelShadow.h"

#include <QCoreApplication>
#include <QPainter>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickRenderControl>
#include <QQuickRenderTarget>
#include <QQuickWindow>

#include <memory>
#include <stdexcept>
#include <utility>

namespace lumivane::tools {

void PosedAccessibilitySettings::setReduceTransparency(bool reduceTransparency) {
    if (m_reduceTransparency != reduceTransparency) {
        m_reduceTransparency = reduceTransparency;
        Q_EMIT changed();
    }
}

namespace {

/// A window without a surface that paints its items into a picture.
class Darkroom {
public:
    explicit Darkroom(const QSize& size)
        : m_window(&m_control)
        , m_image((QSizeF(size) * m_window.devicePixelRatio()).toSize(),
                  QImage::Format_ARGB32_Premultiplied) {
        m_image.setDevicePixelRatio(m_window.devicePixelRatio());
        m_image.fill(Qt::transparent);
        m_window.setColor(Qt::transparent);
        m_window.resize(size);
        m_window.contentItem()->setSize(size);
        QQuickRenderTarget target = QQuickRenderTarget::fromPaintDevice(&m_image);
        target.setDevicePixelRatio(m_window.devicePixelRatio()); // the toolkit does not ask
        m_window.setRenderTarget(target);
    }

    void hang(QQuickItem& item) {
        item.setParentItem(m_window.contentItem());
        item.setSize(m_window.contentItem()->size());
    }

    /// What a view puts off to a later turn is there by the second frame.
    const QImage& develop() {
        constexpr int frames = 2;
        for (int frame = 0; frame < frames; ++frame) {
            QCoreApplication::processEvents();
            m_control.polishItems();
            m_control.sync();
            m_control.render();
        }
        return m_image;
    }

private:
    QQuickRenderControl m_control;
    QQuickWindow m_window;
    QImage m_image;
};

} // namespace

Photographer::Photographer() {
    OverlayViews::install(m_settings);
    m_engine.addImportPath(u":/qt/qml"_qs);
    QObject::connect(&m_engine, &QQmlEngine::warnings, &m_engine,
                     [this](const QList<QQmlError>& warnings) {
                         for (const QQmlError& warning : warnings) {
                             m_complaints += warning.toString();
                         }
                     });
}

QStringList Photographer::takeComplaints() { return std::exchange(m_complaints, {}); }

QImage Photographer::panel(const Specimen& specimen) {
    m_settings.setReduceTransparency(specimen.reduceTransparency);
    const PanelContent content = specimen.makeContent({m_pasteboard, m_announcer});
    QQmlComponent component(&m_engine, content.view);
    if (!component.isReady()) {
        throw std::runtime_error(component.errorString().toStdString());
    }
    const Rect& frame = specimen.request.frame;
    Darkroom darkroom(QSizeF(frame.width, frame.height).toSize());
    const std::unique_ptr<QObject> object(component.createWithInitialProperties(
        {{u"model"_qs, QVariant::fromValue(content.model.get())}}));
    auto* item = qobject_cast<QQuickItem*>(object.get());
    if (item == nullptr) {
        throw std::runtime_error("the view is no item");
    }
    darkroom.hang(*item);
    return darkroom.develop().copy();
}

namespace {

/// What the panel casts where a compositor runs.
void drawShadow(QPainter& painter, const PanelRequest& request, const QSize& pixels, double scale) {
    const ShadowImage shadow(pixels, request.cornerRadius * scale, scale);
    QImage image(shadow.size(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        shadow.copyRow(y, reinterpret_cast<std::uint32_t*>(image.scanLine(y)));
    }
    image.setDevicePixelRatio(scale);
    painter.drawImage(QPointF(Photographer::margin - shadow.reach() / scale,
                              Photographer::margin + (shadow.drop() - shadow.reach()) / scale),
                      image);
}

} // namespace

QImage Photographer::picture(const Specimen& specimen) {
    const QImage front = panel(specimen);
    const double scale = front.devicePixelRatio();
    const QSize size = QSizeF(specimen.request.frame.width, specimen.request.frame.height).toSize();
    QImage picture = backdrop(specimen.desktop, size + QSize(2 * margin, 2 * margin), scale);
    QPainter painter(&picture);
    if (specimen.request.hasShadow) {
        drawShadow(painter, specimen.request, front.size(), scale);
    }
    painter.drawImage(QPointF(margin, margin), front);
    return picture;
}

} // namespace lumivane::tools
