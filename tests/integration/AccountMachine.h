#pragma once

#include "accounts/AuthClient.h"
#include "accounts/AuthenticationCoordinator.h"
#include "accounts/KeychainCredentialStore.h"
#include "accounts/SystemDeviceIdentity.h"
#include "accounts/SystemWebAuthenticator.h"
#include "async/SystemClock.h"
#include "integration/BrowserHand.h"
#include "integration/LoginDesktop.h"
#include "platform/linux/BrowserWebSession.h"
#include "platform/linux/DesktopUrlOpener.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/SecretServiceItemStore.h"
#include "platform/linux/SessionInstance.h"
#include "platform/linux/SystemRandomSource.h"
#include "service/AnalysisClient.h"
#include "support/FakeDeviceFacts.h"
#include "support/Outcome.h"

#include <QByteArray>
#include <QString>
#include <QThreadPool>

#include <functional>
#include <optional>
#include <string>

namespace lumivane::test {

/// A machine with a desktop, a browser, a keyring and the account side of the program on it, as
/// the program puts it together. Where there are two, one is sat at at a time.
class AccountMachine {
public:
    /// What its user does in the page of a login.
    using InPage = std::function<void(BrowserHand& page)>;

    AccountMachine(const QString& service, const QString& name);
    ~AccountMachine();

    /// The user sits down at it.
    void sitDown() { desktop.moveIn(); }

    /// The program ends and starts again, brings back what it finds, and asks for the providers.
    void restart();

    /// Runs a flow to its end; false when it does not end.
    bool run(QCoro::Task<void> flow);

    /// Runs a login, whose page the user is shown; false when it does not end.
    bool runInBrowser(QCoro::Task<void> login, const InPage& inPage);

    const AccountStatus& status() const { return program->status(); }

    /// A token as the application model asks for it; throws where there is none.
    SecretText token(std::chrono::seconds minimumValidity = std::chrono::seconds(60));

    Outcome<AnalyzeResponse> analyze(const QString& words, const SecretText& token);

    /// What another program finds in the keyring.
    QByteArray storedSession() const;
    QByteArray deviceIdentifier() const;

    LoginDesktop desktop;

private:
    SystemClock m_clock;
    QThreadPool m_pool;
    SystemRandomSource m_random;
    SecretServiceItemStore m_items{m_clock, m_pool};
    FakeDeviceFacts m_facts;
    QtHttpTransport m_transport{m_clock};
    DesktopUrlOpener m_opener{desktop.environment()};
    BrowserWebSession m_session{m_opener};
    SessionInstance m_instance{desktop.place(), desktop.bus.connect(), m_clock};
    AuthClient m_client;
    AnalysisClient m_analysis;
    KeychainCredentialStore m_store{m_items};
    SystemWebAuthenticator m_authenticator{m_session, m_clock};
    SystemDeviceIdentity m_identity{{m_items, m_facts, m_random, m_clock, m_pool}};
    std::size_t m_browserCount = 0;

public:
    HandleAvailabilityChecker checker{m_clock};
    std::optional<AuthenticationCoordinator> program;
};

} // namespace lumivane::test
