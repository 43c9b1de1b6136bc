#pragma once

#include "async/Clock.h"
#include "platform/linux/HandOverChannel.h"

#include <QStringList>

#include <chrono>
#include <optional>

namespace lumivane {

class SessionInstance;

/// The new instance's half of a relaunch: it takes the place over from the one that started it.
/// Main thread, before the event loop.
class Replacement {
public:
    /// Both halves give up after this.
    static constexpr std::chrono::seconds defaultPatience{10};

    /// The switch by which an instance tells its replacement where to reach it.
    static QString switchPrefix() { return QStringLiteral("--hand-over="); }

    /// None where this process is no replacement; a switch that names anything but the line of an
    /// instance of this user is ignored. Called once, before anything else opens a descriptor.
    static std::optional<Replacement> fromArguments(const QStringList& arguments);

    /// Takes the place, and waits for the end of the old process: then everything that two
    /// instances could not both do is free. The application object is up. Blocks for at most twice
    /// `patience`.
    ///
    /// True when the place is this process's: from the old instance, or by a claim of its own when
    /// the old one has died on the way. An old process that has handed the place over and does not
    /// end is left behind. False when the program should end, with nothing asked of anybody: the
    /// old instance, or a third one, keeps the place.
    bool takeOver(SessionInstance& instance, const Clock& clock,
                  std::chrono::milliseconds patience = defaultPatience);

private:
    explicit Replacement(HandOverChannel channel)
        : m_channel(std::move(channel)) {}

    HandOverChannel m_channel;
};

} // namespace lumivane
