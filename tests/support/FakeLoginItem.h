#pragma once

#include "platform/LoginItem.h"

#include <optional>
#include <system_error>

namespace lumivane::test {

/// A login item in memory, which fails as the test says. A failed change changes nothing.
class FakeLoginItem final : public LoginItem {
public:
    LoginItemStatus status() const override { return current; }

    void registerItem() override {
        ++registerCount;
        change(LoginItemStatus::enabled);
    }

    void unregisterItem() override {
        ++unregisterCount;
        change(LoginItemStatus::notRegistered);
    }

    LoginItemStatus current = LoginItemStatus::notRegistered;
    std::optional<std::errc> failure; ///< of every change from now on
    int registerCount = 0;            ///< failures included
    int unregisterCount = 0;

private:
    void change(LoginItemStatus status) {
        if (failure) {
            throw std::system_error(std::make_error_code(*failure));
        }
        current = status;
    }
};

} // namespace lumivane::test
