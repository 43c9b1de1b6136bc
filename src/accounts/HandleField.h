#pragma once

#include "accounts/SessionKeeper.h"
#include "async/TaskHandle.h"

namespace lumivane {

/// The field of the user's handle: judges it while it is typed, saves it on commit. Main thread.
class HandleField final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::seconds savedShown{2};
    static constexpr std::chrono::seconds troubleShown{4};

    HandleField(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper);

    /// Brings the filter of taken handles in, once per session unless forced. Failures are silent.
    QCoro::Task<void> primeFilter(bool force);

    /// The text changed.
    void draftChanged(const QString& draft);

    QCoro::Task<void> commit(QString draft);
    void revert(const QString& draft);

    /// Everything of the field goes with the session, the filter included.
    void forget();

private:
    using Self = QPointer<HandleField>;

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    TaskHandle m_checkTask;
    TaskHandle m_statusTask;
    bool m_filterRequested = false;
};

} // namespace lumivane
