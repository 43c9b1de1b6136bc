#pragma once

#include "analysis/AppRelaunching.h"
#include "platform/Relauncher.h"

namespace lumivane {

/// Starts a second instance in the background beside this one. Main thread.
class AppRelaunchService final : public AppRelaunching {
public:
    /// `relauncher` outlives every flow that was begun here.
    explicit AppRelaunchService(Relauncher& relauncher)
        : m_relauncher(relauncher) {}

    QCoro::Task<void> relaunch() override;

private:
    Relauncher& m_relauncher;
};

} // namespace lumivane
