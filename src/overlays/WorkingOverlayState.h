#pragma once

#include <QObject>

namespace lumivane {

/// What of a working panel changes while it is up; it lives exactly as long as the panel.
class WorkingOverlayState final : public QObject {
    Q_OBJECT

public:
    bool isSlow() const { return m_isSlow; }

    void setSlow(bool isSlow) {
        if (m_isSlow != isSlow) {
            m_isSlow = isSlow;
            Q_EMIT isSlowChanged();
        }
    }

Q_SIGNALS:
    void isSlowChanged();

private:
    bool m_isSlow = false;
};

} // namespace lumivane
