#include "accounts/AccountCoding.h"
#include "accounts/AuthClient.h"
#include "accounts/KeychainCredentialStore.h"
#include "accounts/SessionKeeper.h"
#include "async/SystemClock.h"
#include "async/TaskHandle.h"
#include "platform/linux/QtHttpTransport.h"
#include "platform/linux/SecretServiceItemStore.h"
#include "platform/linux/SystemRandomSource.h"
#include "support/FakeDeviceIdentity.h"
#include "support/FakeWebAuthenticator.h"

#include <QCoreApplication>
#include <QFile>
#include <QThreadPool>

#include <unistd.h>

#include <cstdio>

// lumivane_test_refresher store
//
// Puts the session that comes in on standard input into the keyring.
//
// lumivane_test_refresher URL [STEP]
//
// Restores the stored session at the account service. Says on standard output each step of the
// refresh as it comes to it, and in the end its access token, or "none". At STEP it stands still
// until a byte comes in on standard input.

using namespace lumivane;

namespace {

/// Where a process may be ended from outside.
class Steps {
public:
    explicit Steps(QByteArray last)
        : m_last(std::move(last)) {}

    void say(const QByteArray& text) const {
        const QByteArray line = text + '\n';
        if (::write(STDOUT_FILENO, line.data(), static_cast<std::size_t>(line.size())) < 0) {
            ::_exit(1);
        }
    }

    void reach(const QByteArray& step) const {
        say(step);
        char byte = 0;
        if (step == m_last && ::read(STDIN_FILENO, &byte, 1) < 1) {
            ::_exit(1);
        }
    }

private:
    QByteArray m_last;
};

class SteppingStore final : public CredentialStoring {
public:
    SteppingStore(CredentialStoring& store, const Steps& steps)
        : m_store(store)
        , m_steps(steps) {}

    QCoro::Task<std::optional<StoredSession>> load(UnlockPrompt prompt,
                                                   std::stop_token stop) override {
        return m_store.load(prompt, std::move(stop));
    }

    QCoro::Task<void> save(StoredSession session, UnlockPrompt prompt,
                           std::stop_token stop) override {
        const bool isFirst = session.pendingRefreshOperationID.has_value();
        m_steps.reach(isFirst ? "before-pre-write" : "before-last-write");
        co_await m_store.save(session, prompt, stop);
        m_steps.reach(isFirst ? "pre-written" : "last-written");
    }

    QCoro::Task<void> clear(UnlockPrompt prompt, std::stop_token stop) override {
        return m_store.clear(prompt, std::move(stop));
    }

private:
    CredentialStoring& m_store;
    const Steps& m_steps;
};

class SteppingTransport final : public HttpTransport {
public:
    SteppingTransport(HttpTransport& transport, const Steps& steps)
        : m_transport(transport)
        , m_steps(steps) {}

    QCoro::Task<HttpResponse> send(HttpRequest request, std::stop_token stop) override {
        HttpResponse response = co_await m_transport.send(request, stop);
        m_steps.reach("answered");
        co_return response;
    }

private:
    HttpTransport& m_transport;
    const Steps& m_steps;
};

struct Keyring {
    SystemClock clock;
    QThreadPool pool;
    SecretServiceItemStore items{clock, pool};
    KeychainCredentialStore store{items};
};

QCoro::Task<void> storeSession(Keyring& keyring, StoredSession session) {
    co_await keyring.store.save(session, UnlockPrompt::never, std::stop_token());
    QCoreApplication::quit();
}

int store(Keyring& keyring) {
    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly)) {
        return 1;
    }
    const auto session = decodeSecretJson<StoredSession>(input.readAll());
    TaskHandle::detach(
        [&keyring, session](std::stop_token) { return storeSession(keyring, session); });
    return QCoreApplication::exec();
}

QCoro::Task<void> restoreSession(SessionKeeper& keeper, const Steps& steps) {
    co_await keeper.restore();
    const auto& credentials = keeper.credentials();
    steps.say(credentials ? credentials->accessToken.reveal().toByteArray() : QByteArray("none"));
    QCoreApplication::quit();
}

int restore(Keyring& keyring, const QString& url, const Steps& steps) {
    QtHttpTransport http(keyring.clock);
    SteppingTransport transport(http, steps);
    SteppingStore store(keyring.store, steps);
    AuthClient client(url, ApplicationInformation(), transport);
    test::Journal journal;
    test::FakeWebAuthenticator web(journal);
    test::FakeDeviceIdentity device(journal);
    HandleAvailabilityChecker checker(keyring.clock);
    SystemRandomSource random;
    AccountStatus status;
    SessionKeeper keeper({client, store, web, device, checker, random, keyring.clock}, status);
    TaskHandle::detach([&](std::stop_token) { return restoreSession(keeper, steps); });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    Keyring keyring;
    if (arguments.value(1) == u"store") {
        return store(keyring);
    }
    return restore(keyring, arguments.value(1), Steps(arguments.value(2).toUtf8()));
}
