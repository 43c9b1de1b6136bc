#pragma once

#include "support/LumivaneProgram.h"
#include "support/PrivateBus.h"

#include <gmock/gmock.h>

#include <memory>

namespace lumivane::test {

inline constexpr auto isReady = "Service health check";
inline constexpr auto settingsShown =
    "The account's window stands in for the settings"; ///< what stands in for it says so

/// The real program in a home of its own; with a session bus where the parameter says so.
class ProcessTest : public testing::TestWithParam<bool> {
protected:
    ProcessTest() {
        settings.configured = true;
        settings.activationMode = ActivationMode::hotkey;
        home.setService(u"http://127.0.0.1:9"_qs); // nobody listens there
        if (hasBus()) {
            bus = std::make_unique<PrivateBus>();
            home.setSessionBus(bus->address());
        }
    }

    static bool hasBus() { return GetParam(); }

    std::unique_ptr<LumivaneProgram> start(const QStringList& arguments = {}) {
        auto program = std::make_unique<LumivaneProgram>(home, arguments);
        program->requireLog(isReady);
        return program;
    }

    QString autostartEntry() const {
        return home.path(u"CONFIG/autostart/com.marnoth.Lumivane.desktop"_qs);
    }

    XServer display{QSize(1280, 800)};
    std::unique_ptr<PrivateBus> bus;
    LumivaneHome home{display};
    AppSettings settings;
};

} // namespace lumivane::test
