#pragma once

#include "accounts/DeviceIdentifying.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <vector>

namespace lumivane::test {

/// A machine that says of itself what the test wants. The journal gets "registration".
class FakeDeviceIdentity final : public DeviceIdentifying {
public:
    explicit FakeDeviceIdentity(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<DeviceRegistration> registration(UnlockPrompt prompt,
                                                 std::stop_token stop) override {
        m_journal.add(u"registration"_qs);
        prompts.push_back(prompt);
        return script.call(std::move(stop));
    }

    static DeviceRegistration complete() {
        return {u"0123456789abcdef0123456789abcdef"_qs, u"Studio"_qs, DeviceKind::desktop,
                u"macOS 15.2"_qs};
    }

    ScriptedCall<DeviceRegistration> script{complete()};
    std::vector<UnlockPrompt> prompts;

private:
    Journal& m_journal;
};

} // namespace lumivane::test
