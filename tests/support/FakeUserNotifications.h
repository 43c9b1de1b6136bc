#pragma once

#include "platform/UserNotifications.h"
#include "support/ScriptedCall.h"

#include <utility>
#include <vector>

namespace lumivane::test {

/// Takes every notification, or answers as scripted.
class FakeUserNotifications final : public UserNotifications {
public:
    QCoro::Task<bool> requestAuthorization() override {
        ++requestCount;
        return authorization.call(std::stop_token());
    }

    QCoro::Task<void> add(UserNotification notification) override {
        asked.push_back(std::move(notification));
        co_await delivery.call(std::stop_token());
    }

    ScriptedCall<bool> authorization{true};
    ScriptedCall<bool> delivery{true};   ///< its value means nothing
    std::vector<UserNotification> asked; ///< failures included
    int requestCount = 0;
};

} // namespace lumivane::test
