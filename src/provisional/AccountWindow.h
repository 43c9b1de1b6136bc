#pragma once

#include "accounts/AuthenticationCoordinator.h"

#include <QComboBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QStringList>
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
    enum class Page { progress, retry, login, takeover, account };

    static Page pageFor(const AuthenticationState& state);

    QWidget* makeProgressPage();
    QWidget* makeRetryPage();
    QWidget* makeLoginPage();
    QWidget* makeTakeoverPage();
    QWidget* makeAccountPage();
    void addDevices(QVBoxLayout& page);
    void addDeletion(QVBoxLayout& page);

    void connectStatus();
    void showState();
    void showPage(Page page);
    void completeUser();
    void showMessage();
    void showProviders();
    void showTakeover();
    void showDevices();
    QString devicesText() const;
    void showDeletion();
    std::vector<AuthProvider> verifiers() const;
    void confirmDeletion();

    AuthenticationCoordinator& m_account;
    const AccountStatus& m_status;
    QStackedWidget m_pages;
    QLabel m_message;

    QLabel* m_progress = nullptr;
    QLabel* m_inBrowser = nullptr;
    QPushButton* m_cancelLogin = nullptr;
    QLabel* m_retryMessage = nullptr;
    QVBoxLayout* m_providers = nullptr;
    QLabel* m_takeoverDevice = nullptr;
    QProgressBar* m_takeoverProgress = nullptr;
    QPushButton* m_takeoverConfirm = nullptr;
    QLabel* m_devicesCaption = nullptr;
    QLabel* m_devices = nullptr;
    QPushButton* m_retryDevices = nullptr;
    QComboBox* m_verifyWith = nullptr;
    QStringList m_verifierNames;
    QPushButton* m_delete = nullptr;
};

} // namespace lumivane
