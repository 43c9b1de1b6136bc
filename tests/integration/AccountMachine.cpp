#include "integration/AccountMachine.h"

#include "support/EventLoop.h"

#include <stdexcept>

namespace lumivane::test {

AccountMachine::AccountMachine(const QString& service, const QString& name)
    : desktop(service, LoginDesktop::Pages::needHand)
    , m_client(service, {}, m_transport)
    , m_analysis(service, {}, m_transport) {
    m_facts.name = name;
    m_instance.onOpen = [this](const QStringList& urls) {
        for (const QString& url : urls) {
            m_session.deliver(url);
        }
    };
    if (m_instance.claim() != ApplicationInstance::Claim::granted) {
        throw std::runtime_error("another program has the place");
    }
    restart();
}

AccountMachine::~AccountMachine() {
    m_authenticator.cancel();
    program.reset();
    drainEvents();
    m_pool.waitForDone();
}

void AccountMachine::restart() {
    program.emplace(AuthenticationPorts{m_client, m_store, m_authenticator, m_identity, checker,
                                        m_random, m_clock});
    run(program->restore());
    run(program->loadProviders(Loading::again));
}

bool AccountMachine::run(QCoro::Task<void> flow) {
    return outcomeOf(flagged(std::move(flow))).value.has_value();
}

bool AccountMachine::runInBrowser(QCoro::Task<void> login, const InPage& inPage) {
    const auto outcome = watch(flagged(std::move(login)));
    BrowserHand page(desktop, m_browserCount++);
    inPage(page);
    return waitUntil([&] { return outcome->hasEnded(); }) && outcome->value;
}

SecretText AccountMachine::token(std::chrono::seconds minimumValidity) {
    const auto outcome = outcomeOf(program->validAccessToken(minimumValidity, {}));
    if (!outcome.value) {
        throw std::runtime_error("there is no token");
    }
    return SecretText(*outcome.value);
}

Outcome<AnalyzeResponse> AccountMachine::analyze(const QString& words, const SecretText& token) {
    AnalysisPayload payload;
    payload.screenText = words;
    return outcomeOf(m_analysis.analyze(payload, AppSettings::defaults(), token, {}));
}

QByteArray AccountMachine::storedSession() const {
    return desktop.keyring.readByTool(KeychainCredentialStore::service,
                                      KeychainCredentialStore::account);
}

QByteArray AccountMachine::deviceIdentifier() const {
    return desktop.keyring.readByTool(SystemDeviceIdentity::ordinaryService,
                                      SystemDeviceIdentity::account);
}

} // namespace lumivane::test
