#include "analysis/AppRelaunchService.h"

#include "telemetry/LumivaneLog.h"

namespace lumivane {

QCoro::Task<void> AppRelaunchService::relaunch() {
    co_await m_relauncher.startReplacement();
    LumivaneLog::lifecycle.log("Replacement instance started for relaunch");
}

} // namespace lumivane
