#include "platform/linux/ScreenScales.h"

#include <QGuiApplication>
#include <QMutexLocker>
#include <QScreen>

namespace lumivane {

ScreenScales::ScreenScales() {
    read();
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &ScreenScales::read);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &ScreenScales::read);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &ScreenScales::read);
}

double ScreenScales::scaleOf(const QString& screenName) const {
    const QMutexLocker lock(&m_mutex);
    return m_scales.value(screenName, 1.0);
}

void ScreenScales::read() {
    QHash<QString, double> scales;
    for (const QScreen* screen : QGuiApplication::screens()) {
        scales.insert(screen->name(), screen->devicePixelRatio());
        connect(screen, &QScreen::physicalDotsPerInchChanged, this, &ScreenScales::read,
                Qt::UniqueConnection);
    }
    const QMutexLocker lock(&m_mutex);
    m_scales = std::move(scales);
}

} // namespace lumivane
