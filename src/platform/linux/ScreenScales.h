#pragma once

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QString>

namespace lumivane {

/// The toolkit's scale of every screen by name, readable from any thread. Made on the main thread.
class ScreenScales final : public QObject {
public:
    ScreenScales();

    /// Pixels per point; 1 for a screen that the toolkit does not know.
    double scaleOf(const QString& screenName) const;

private:
    void read();

    mutable QMutex m_mutex;
    QHash<QString, double> m_scales;
};

} // namespace lumivane
