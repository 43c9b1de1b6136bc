#pragma once

#include "accounts/Loading.h"
#include "accounts/ShownFieldState.h"
#include "accounts/UserChanges.h"

#include <memory>

namespace lumivane {

/// The field of the user's handle: judges it while it is typed, saves it on commit. Main thread.
class HandleField final : public QObject {
    Q_OBJECT

public:
    HandleField(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                UserChanges& changes);

    /// Brings the filter of taken handles in, once per session if needed. Failures are silent.
    QCoro::Task<void> primeFilter(Loading loading);

    /// The text changed.
    void draftChanged(const QString& draft);

    /// Saves the draft when it can be had. A later commit takes the place of one that is not sent
    /// yet. What becomes of it is shown unless the user has gone on typing.
    QCoro::Task<void> commit(QString draft);
    void revert(const QString& draft);

    /// Everything of the field goes with the session, the filter included.
    void forget();

private:
    using Self = QPointer<HandleField>;

    struct Commit;

    static QCoro::Task<void> check(Self self, QString draft, QString currentHandle,
                                   SessionEpoch epoch, std::stop_token stop);
    static QCoro::Task<ProfileFieldState> serverAvailability(Self self, QString handle,
                                                             UnlockPrompt prompt,
                                                             SessionEpoch epoch,
                                                             std::stop_token stop);

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    UserChanges& m_changes;
    ShownFieldState m_shown;
    TaskHandle m_checkTask;
    std::weak_ptr<Commit> m_saving; ///< the last commit that came as far
    int m_lastEdit = 0;             ///< counts what the user typed and committed
    int m_lastCommit = 0;
    bool m_filterRequested = false;
};

} // namespace lumivane
