#pragma once

#include "accounts/AuthenticationCoordinator.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>
#include <QWidget>

namespace lumivane {

/// Stands in for the account's pane: a plain window for everything that can be done with an
/// account. It holds no rule of its own. Main thread.
class AccountWindow final : public QWidget {
    Q_OBJECT

public:
    /// `account` outlives this and the flows that it starts.
    explicit AccountWindow(AuthenticationCoordinator& account);

    /// Brings the window to the front and what it shows up to date.
    void present();

private:
    using Action = std::function<QCoro::Task<void>()>;

    QWidget* makeProgressPage();
    QWidget* makeRetryPage();
    QWidget* makeLoginPage();
    QWidget* makeTakeoverPage();
    QWidget* makeAccountPage();

    void connectStatus();
    void showState();
    void completeUser();
    void showMessage();
    void showProviders();
    void showTakeover();
    void showUser();
    void showDevices();
    void showLinks();
    void showFields();
    void confirmUnlink(AuthProvider provider);
    void confirmDeletion();

    QPushButton* addButton(QLayout* layout, const QString& text, Action action);

    AuthenticationCoordinator& m_account;
    const AccountStatus& m_status;
    QStackedWidget m_pages;
    QLabel m_message;

    QLabel* m_progress = nullptr;
    QLabel* m_retryMessage = nullptr;
    QVBoxLayout* m_providers = nullptr;
    QLabel* m_takeoverDevice = nullptr;
    QPushButton* m_takeoverConfirm = nullptr;
    QLineEdit* m_displayName = nullptr;
    QLabel* m_displayNameStatus = nullptr;
    QLineEdit* m_handle = nullptr;
    QLabel* m_handleStatus = nullptr;
    QLabel* m_email = nullptr;
    QLabel* m_devices = nullptr;
    QVBoxLayout* m_links = nullptr;
    QPushButton* m_delete = nullptr;
};

} // namespace lumivane
