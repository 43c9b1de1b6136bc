#pragma once

#include "analysis/LaunchAtLoginServing.h"
#include "support/DesktopError.h"
#include "support/Journal.h"

#include <functional>

namespace lumivane::test {

/// A start at login that can refuse a change; journals each `setEnabled`, refused ones too.
class FakeLaunchAtLogin final : public LaunchAtLoginServing {
public:
    explicit FakeLaunchAtLogin(Journal& journal)
        : m_journal(journal) {}

    bool isEnabled() const override { return enabled; }

    void setEnabled(bool wanted) override {
        m_journal.add(u"setEnabled %1"_qs.arg(wanted));
        if (onRequest) {
            onRequest();
        }
        if (isRefusing) {
            throw DesktopError();
        }
        enabled = wanted;
    }

    bool enabled = true;
    bool isRefusing = false;
    std::function<void()> onRequest; ///< what the world does meanwhile

private:
    Journal& m_journal;
};

} // namespace lumivane::test
