// The control of RefusedLogCalls.cpp: the same headers and names, and nothing wrong.

#include "domain/LumivaneError.h"
#include "domain/Vocabulary.h"
#include "telemetry/LumivaneLog.h"

#include <QString>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace lumivane {

void callRightly(const std::string& bytes, const std::runtime_error& error) {
    constexpr std::int64_t wide = 1;
    constexpr std::int32_t narrow = 1;
    const LogName name("literal");
    LumivaneLog::capture.log("none");
    LumivaneLog::capture.log("%{public}ld %{public}d %{public}s %{bool,public}d %{public}f", wide,
                             narrow, Preset::mcq, true, 0.5);
    LumivaneLog::capture.error("%{public}s %{public}s %{public}s", name, LogTypeName(error),
                               LogIdentifier(QString::fromStdString(bytes)));
}

} // namespace lumivane
