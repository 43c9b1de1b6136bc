#pragma once

#include "accounts/ShownFieldState.h"
#include "accounts/UserChanges.h"

namespace lumivane {

/// The field of the user's display name. Main thread only.
class DisplayNameField final : public QObject {
    Q_OBJECT

public:
    DisplayNameField(const AuthenticationPorts& ports, AccountStatus& status, SessionKeeper& keeper,
                     UserChanges& changes);

    /// Saves the draft. A later commit takes the place of one that is not sent yet, and what is
    /// shown is what becomes of the last.
    QCoro::Task<void> commit(QString draft);
    void revert();

    /// The field goes with the session.
    void forget();

private:
    using Self = QPointer<DisplayNameField>;

    static QCoro::Task<void> save(Self self, QString name, int commit);

    AuthenticationPorts m_ports;
    AccountStatus& m_status;
    SessionKeeper& m_keeper;
    UserChanges& m_changes;
    ShownFieldState m_shown;
    std::optional<QString> m_saving; ///< the name that is being saved
    int m_lastCommit = 0;
};

} // namespace lumivane
