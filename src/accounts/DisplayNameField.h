#pragma once

#include "accounts/SessionKeeper.h"
#include "async/TaskHandle.h"

namespace lumivane {

/// The field of the user's display name. Main thread only.
class DisplayNameField final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds savedShown{2};
    static constexpr std::chrono::seconds troubleShown{4};

    DisplayNameField(const AuthenticationPorts& ports, AccountStatus& status,
                     SessionKeeper& keeper);

    QCoro::Task<void> commit(QString draft);
    void revert();

    /// The field goes with the session.
    void forget();

private:
    using Self = QPointer<DisplayNameField>;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    TaskHandle m_statusTask;
};

} // namespace lumivane
