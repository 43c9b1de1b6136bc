#pragma once

#include "accounts/AuthenticationCoordinator.h"

#include <QLabel>
#include <QLineEdit>
#include <QWidget>

namespace lumivane {

/// What of a user can be changed, and what is shown beside it. What the user has typed stays until
/// it is saved or taken back, or until the session ends. Main thread.
class ProfileForm final : public QWidget {
    Q_OBJECT

public:
    /// `account` outlives this and the flows that it starts.
    explicit ProfileForm(AuthenticationCoordinator& account);

private:
    using Commit = QCoro::Task<void> (AuthenticationCoordinator::*)(const QString&);
    using State = const ProfileFieldState& (AccountStatus::*)() const;

    /// A field and how its account calls it.
    struct Field {
        QLineEdit* edit = nullptr;
        QLabel* state = nullptr;
        QString UserSummary::*value = nullptr;
        Commit commit = nullptr;
        State stateOf = nullptr;
    };

    Field makeField(QString UserSummary::*value, Commit commit, State stateOf);
    QCoro::Task<void> commit(const Field& field);
    QCoro::Task<void> finish(Field field, QString draft, QCoro::Task<void> saving);
    void endDraft(const Field& field);
    void showUser();
    void showFields();
    void show(const Field& field, const UserSummary& user);
    void dropDraft(const Field& field);

    AuthenticationCoordinator& m_account;
    const AccountStatus& m_status;
    Field m_displayName;
    Field m_handle;
    QLabel* m_email = nullptr;
};

} // namespace lumivane
