#pragma once

#include "accounts/AccountStatus.h"
#include "async/Clock.h"
#include "async/TaskHandle.h"

#include <QObject>
#include <QPointer>

#include <chrono>

namespace lumivane {

/// What one field of the profile shows, and its way back to nothing after a while. Main thread.
class ShownFieldState final : public QObject {
    Q_OBJECT

public:
    using Reader = const ProfileFieldState& (AccountStatus::*)() const;
    using Writer = void (AccountStatus::*)(ProfileFieldState);

    static constexpr std::chrono::seconds savedShown{2};
    static constexpr std::chrono::seconds troubleShown{4};

    /// Shows it in this field of `status`. Both outlive this.
    ShownFieldState(Clock& clock, AccountStatus& status, Reader reader, Writer writer);

    const ProfileFieldState& state() const { return (m_status.*m_reader)(); }

    /// What is shown now stays until something else is shown.
    void keep() { m_clearTask = TaskHandle(); }

    /// Until something else is shown.
    void show(ProfileFieldState state);

    /// The same, and `idle` after `duration` unless something else is shown by then.
    void showFor(std::chrono::seconds duration, ProfileFieldState state);

private:
    using Self = QPointer<ShownFieldState>;

    static QCoro::Task<void> clearAfter(Self self, std::chrono::seconds duration,
                                        ProfileFieldState state, std::stop_token stop);

    Clock& m_clock;
    AccountStatus& m_status;
    Reader m_reader;
    Writer m_writer;
    TaskHandle m_clearTask;
};

} // namespace lumivane
