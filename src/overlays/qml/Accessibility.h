#pragma once

#include "platform/AccessibilitySettings.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class QJSEngine;
class QQmlEngine;

namespace lumivane {

/// The desktop's settings, as the views read them; one for each engine.
class Accessibility final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool reduceMotion READ reduceMotion NOTIFY changed)
    Q_PROPERTY(bool reduceTransparency READ reduceTransparency NOTIFY changed)

public:
    static Accessibility* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    explicit Accessibility(AccessibilitySettings* settings);

    bool reduceMotion() const { return m_settings && m_settings->reduceMotion(); }

    bool reduceTransparency() const { return m_settings && m_settings->reduceTransparency(); }

Q_SIGNALS:
    void changed();

private:
    QPointer<AccessibilitySettings> m_settings;
};

} // namespace lumivane
