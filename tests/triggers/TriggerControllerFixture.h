#pragma once

#include "support/FakeHotKeyRegistrar.h"
#include "support/LogCapture.h"
#include "support/ManualClock.h"
#include "triggers/PointerDisplayServer.h"
#include "triggers/TriggerController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumivane {

/// A controller between fakes, with everything that it calls back in order.
class TriggerControllerFixture : public testing::Test {
protected:
    TriggerControllerFixture() { create(); }

    void create() {
        controller.emplace(registrar, displayServer, clock);
        controller->onTrigger = [this](std::uint32_t displayID) {
            calls.push_back("trigger " + std::to_string(displayID));
        };
        controller->onDwellStart = [this] { calls.emplace_back("dwell"); };
        controller->onError = [this](const std::exception&) { calls.emplace_back("error"); };
    }

    static AppSettings shortcutSettings(HotKey hotKey = HotKey::defaultValue()) {
        AppSettings settings;
        settings.configured = true;
        settings.activationMode = ActivationMode::hotkey;
        settings.hotKey = std::move(hotKey);
        return settings;
    }

    static AppSettings cornerSettings() {
        AppSettings settings;
        settings.configured = true;
        settings.activationMode = ActivationMode::corner;
        settings.corner = ScreenCorner::topLeft;
        settings.cornerSize = 20;
        settings.dwellSeconds = 0.5;
        settings.pollSeconds = 0.2;
        return settings;
    }

    // For `cornerSettings` on the one display, 1920 by 1080.
    static constexpr Point inside{3, 1077};
    static constexpr Point outside{960, 540};

    void watch(const AppSettings& settings = cornerSettings()) { controller->configure(settings); }

    void tick(int count = 1) { clock.advance(std::chrono::milliseconds(200) * count); }

    void enter() {
        displayServer.pointer = inside;
        tick();
    }

    void leave() {
        displayServer.pointer = outside;
        tick();
    }

    int triggerCount() const {
        return static_cast<int>(
            std::count_if(calls.begin(), calls.end(),
                          [](const std::string& call) { return call.starts_with("trigger "); }));
    }

    int logged(LogLevel level, std::string_view text) const {
        return log.count("trigger", level, text);
    }

    test::LogCapture log;
    test::ManualClock clock;
    test::FakeHotKeyRegistrar registrar;
    test::PointerDisplayServer displayServer;
    std::vector<std::string> calls;
    std::optional<TriggerController> controller;
};

} // namespace lumivane
