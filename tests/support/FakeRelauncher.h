#pragma once

#include "platform/Relauncher.h"
#include "support/ScriptedCall.h"

namespace lumivane::test {

/// Starts nothing and says that it did, or answers as scripted.
class FakeRelauncher final : public Relauncher {
public:
    QCoro::Task<void> startReplacement() override {
        ++startCount;
        co_await script.call(std::stop_token());
    }

    ScriptedCall<bool> script{true}; ///< its value means nothing
    int startCount = 0;              ///< failures included
};

} // namespace lumivane::test
