#pragma once

#include "platform/AccessibilitySettings.h"

namespace lumivane::test {

/// What a test says of its user's needs. It tells of a change as the real one does: only when an
/// answer differs.
class FakeAccessibilitySettings final : public AccessibilitySettings {
public:
    using AccessibilitySettings::AccessibilitySettings;

    bool reduceMotion() const override { return m_reducesMotion; }

    bool reduceTransparency() const override { return m_reducesTransparency; }

    void setReduceMotion(bool reduces) { set(m_reducesMotion, reduces); }

    void setReduceTransparency(bool reduces) { set(m_reducesTransparency, reduces); }

private:
    void set(bool& answer, bool reduces) {
        if (answer != reduces) {
            answer = reduces;
            Q_EMIT changed();
        }
    }

    bool m_reducesMotion = false;
    bool m_reducesTransparency = false;
};

} // namespace lumivane::test
