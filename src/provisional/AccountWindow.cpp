#include "provisional/AccountWindow.h"

#include "async/TaskHandle.h"
#include "provisional/LinkedLogins.h"
#include "provisional/PlainControls.h"
#include "provisional/ProfileForm.h"

#include <QMessageBox>
#include <QScrollArea>

#include <algorithm>

namespace lumivane {

namespace {

QString progressText(const AuthenticationState& state) {
    if (const auto provider = state.provider()) {
        return u"Waiting for %1…"_qs.arg(PlainControls::nameOf(*provider));
    }
    return state.is(AuthenticationState::Case::signingOut) ? u"Signing out securely…"_qs
                                                           : u"Restoring your session…"_qs;
}

/// Whether a session may stand behind the state.
bool mayHaveSession(const AuthenticationState& state) {
    using Case = AuthenticationState::Case;
    return state.isSignedIn() || state.is(Case::authorizing) || state.is(Case::refreshing);
}

} // namespace

AccountWindow::Page AccountWindow::pageFor(const AuthenticationState& state) {
    using Case = AuthenticationState::Case;
    switch (state.stateCase()) {
    case Case::restoreFailed:
        return Page::retry;
    case Case::signedIn:
        return Page::account;
    case Case::deviceTakeover:
        return Page::takeover;
    case Case::failed:
    case Case::signedOut:
        return Page::login;
    case Case::authorizing:
    case Case::restoring:
    case Case::signingOut:
    case Case::refreshing:
        return Page::progress;
    }
    Q_UNREACHABLE();
}

AccountWindow::AccountWindow(AuthenticationCoordinator& account)
    : m_account(account)
    , m_status(account.status()) {
    setObjectName(u"accountWindow"_qs);
    setWindowTitle(u"Lumivane account"_qs);
    for (QWidget* page : {makeProgressPage(), makeRetryPage(), makeLoginPage(), makeTakeoverPage(),
                          makeAccountPage()}) {
        // What is higher than the window scrolls; it would be squeezed otherwise.
        auto* area = new QScrollArea;
        area->setWidget(page);
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        area->setFocusPolicy(Qt::NoFocus);
        m_pages.addWidget(area);
    }
    m_message.setTextFormat(Qt::PlainText);
    m_message.setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(&m_pages);
    layout->addWidget(&m_message);
    resize(460, 560);
    connectStatus();
    showState();
    showProviders();
    showDevices();
}

void AccountWindow::present() {
    show();
    raise();
    activateWindow();
    TaskHandle::detach(
        [this](std::stop_token) { return m_account.loadProviders(Loading::ifNeeded); });
    TaskHandle::detach(
        [this](std::stop_token) { return m_account.loadDevices(Loading::ifNeeded); });
    TaskHandle::detach(
        [this](std::stop_token) { return m_account.primeHandleFilter(Loading::ifNeeded); });
}

void AccountWindow::connectStatus() {
    connect(&m_status, &AccountStatus::stateChanged, this, &AccountWindow::showState);
    connect(&m_status, &AccountStatus::errorMessageChanged, this, &AccountWindow::showMessage);
    connect(&m_status, &AccountStatus::providerAvailabilityChanged, this,
            &AccountWindow::showProviders);
    connect(&m_status, &AccountStatus::devicesChanged, this, &AccountWindow::showDevices);
    connect(&m_status, &AccountStatus::takeoverInFlightChanged, this, &AccountWindow::showTakeover);
    connect(&m_status, &AccountStatus::deletionRetryAvailableChanged, this,
            &AccountWindow::showDeletion);
}

QWidget* AccountWindow::makeProgressPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    m_progress = PlainControls::label();
    m_progress->setFocusPolicy(Qt::TabFocus);
    m_inBrowser = PlainControls::label(u"Finish in your browser."_qs);
    m_cancelLogin = new QPushButton(u"Cancel"_qs);
    connect(m_cancelLogin, &QPushButton::clicked, this, [this] { m_account.cancelLogin(); });
    layout->addWidget(m_progress);
    layout->addWidget(m_inBrowser);
    layout->addWidget(m_cancelLogin);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeRetryPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(PlainControls::label(u"Your saved session is still secure"_qs));
    m_retryMessage = PlainControls::label();
    layout->addWidget(m_retryMessage);
    layout->addWidget(PlainControls::button(u"Retry session restore"_qs,
                                            [this] { return m_account.retryRestore(); }));
    layout->addWidget(
        PlainControls::button(u"Sign out"_qs, [this] { return m_account.signOut(); }));
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeLoginPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(PlainControls::label(u"Log in to Lumivane"_qs));
    layout->addWidget(
        PlainControls::label(u"Choose a provider to analyze your screen. Your provider "
                             "credentials never enter the Lumivane app."_qs));
    m_providers = new QVBoxLayout;
    layout->addLayout(m_providers);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeTakeoverPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(PlainControls::label(u"Move Lumivane to this Mac?"_qs));
    m_takeoverDevice = PlainControls::label();
    layout->addWidget(m_takeoverDevice);
    layout->addWidget(
        PlainControls::label(u"Your settings follow you to this Mac. Lumivane will also add itself "
                             "to this Mac's login items."_qs));
    m_takeoverProgress = new QProgressBar;
    m_takeoverProgress->setRange(0, 0); // nobody knows how long it takes
    layout->addWidget(m_takeoverProgress);
    m_takeoverConfirm =
        PlainControls::button(u"Continue"_qs, [this] { return m_account.confirmTakeover(); });
    layout->addWidget(m_takeoverConfirm);
    auto* cancel = new QPushButton(u"Cancel"_qs);
    connect(cancel, &QPushButton::clicked, this, [this] { m_account.cancelTakeover(); });
    layout->addWidget(cancel);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeAccountPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(new ProfileForm(m_account));
    addDevices(*layout);
    layout->addWidget(new LinkedLogins(m_account));
    layout->addStretch();
    layout->addWidget(
        PlainControls::button(u"Sign out"_qs, [this] { return m_account.signOut(); }));
    addDeletion(*layout);
    return page;
}

void AccountWindow::addDevices(QVBoxLayout& page) {
    m_devicesCaption = PlainControls::label();
    m_devices = PlainControls::label();
    m_retryDevices = PlainControls::button(
        u"Try again"_qs, [this] { return m_account.loadDevices(Loading::again); });
    page.addWidget(PlainControls::label(u"Device"_qs));
    page.addWidget(m_devicesCaption);
    page.addWidget(m_devices);
    page.addWidget(m_retryDevices);
}

void AccountWindow::addDeletion(QVBoxLayout& page) {
    m_verifyWith = new QComboBox;
    m_verifyWith->setAccessibleName(u"Verify with"_qs);
    m_delete = new QPushButton;
    connect(m_delete, &QPushButton::clicked, this, &AccountWindow::confirmDeletion);
    page.addWidget(m_verifyWith);
    page.addWidget(m_delete);
}

void AccountWindow::showState() {
    const AuthenticationState& state = m_status.state();
    m_progress->setText(progressText(state));
    m_inBrowser->setVisible(state.provider().has_value());
    m_cancelLogin->setVisible(state.provider().has_value());
    m_retryMessage->setText(state.message().value_or(QString()));
    showPage(pageFor(state));
    if (!mayHaveSession(state)) {
        for (QMessageBox* question : findChildren<QMessageBox*>()) {
            question->close(); // it was about the user who is gone
        }
    }
    showTakeover();
    showDeletion();
    showMessage();
    if (state.isSignedIn() && isVisible()) {
        completeUser();
    }
}

void AccountWindow::showPage(Page page) {
    // A second press of the key that led here must not meet the button that leads back.
    if (page == Page::progress && m_pages.currentIndex() != int(page)) {
        m_progress->setFocus();
    }
    m_pages.setCurrentIndex(int(page));
    if (page != Page::progress) {
        const bool isLogin = page == Page::login || page == Page::takeover;
        setWindowTitle(isLogin ? u"Log in to Lumivane"_qs : u"Lumivane account"_qs);
    }
}

void AccountWindow::completeUser() {
    // A load may end in this very state; only what was not tried in this session is begun here.
    if (m_status.devicesState() == DeviceListState::idle) {
        TaskHandle::detach(
            [this](std::stop_token) { return m_account.loadDevices(Loading::ifNeeded); });
    }
    TaskHandle::detach(
        [this](std::stop_token) { return m_account.primeHandleFilter(Loading::ifNeeded); });
}

void AccountWindow::showMessage() {
    const AuthenticationState& state = m_status.state();
    const auto failure =
        state.is(AuthenticationState::Case::failed) ? state.message() : std::nullopt;
    m_message.setText(failure.value_or(m_status.errorMessage().value_or(QString())));
}

void AccountWindow::showProviders() {
    using Case = ProviderAvailability::Case;
    PlainControls::clear(*m_providers);
    const auto load = [this] { return m_account.loadProviders(Loading::again); };
    const ProviderAvailability& availability = m_status.providerAvailability();
    if (availability.is(Case::loading)) {
        m_providers->addWidget(PlainControls::label(u"Loading login providers…"_qs));
    } else if (availability.is(Case::unavailable)) {
        m_providers->addWidget(
            PlainControls::label(u"Login providers are temporarily unavailable."_qs));
        m_providers->addWidget(PlainControls::button(u"Retry"_qs, load));
    } else if (availability.providers().empty()) {
        m_providers->addWidget(
            PlainControls::label(u"No login providers are switched on yet. Turn one on in the "
                                 "analysis service, then check again."_qs));
        m_providers->addWidget(PlainControls::button(u"Check again"_qs, load));
    }
    for (const AuthProvider provider : availability.providers()) {
        m_providers->addWidget(
            PlainControls::button(u"Continue with "_qs + PlainControls::nameOf(provider),
                                  [this, provider] { return m_account.signIn(provider); }));
    }
    if (QLayoutItem* first = m_providers->itemAt(0)) {
        first->widget()->setFocus();
    }
    showDeletion();
}

void AccountWindow::showTakeover() {
    m_takeoverProgress->setVisible(m_status.takeoverInFlight());
    m_takeoverConfirm->setEnabled(!m_status.takeoverInFlight());
    if (const auto context = m_status.state().takeoverContext()) {
        m_takeoverDevice->setText(
            u"Lumivane is signed in on %1. Continue here and that Mac will be signed out."_qs.arg(
                context->currentDevice.name));
    }
}

void AccountWindow::showDevices() {
    const DeviceListState state = m_status.devicesState();
    const bool isLoading = state == DeviceListState::loading;
    m_devicesCaption->setText(isLoading ? u"Checking your device…"_qs
                                        : u"Your account is signed in on one Mac at a time. "
                                          "Logging in on another Mac signs this one out."_qs);
    m_devices->setText(devicesText());
    m_devices->setVisible(state != DeviceListState::idle);
    m_retryDevices->setVisible(state == DeviceListState::idle ||
                               state == DeviceListState::unavailable);
}

QString AccountWindow::devicesText() const {
    switch (m_status.devicesState()) {
    case DeviceListState::idle:
        return {};
    case DeviceListState::loading:
        return u"Loading your devices…"_qs;
    case DeviceListState::unavailable:
        return u"Devices are temporarily unavailable."_qs;
    case DeviceListState::loaded:
        break;
    }
    QStringList names;
    for (const LinkedDevice& device : m_status.devices()) {
        names.append(device.isCurrent ? device.name + u" · THIS MAC"_qs : device.name);
    }
    return names.isEmpty()
               ? u"No device is linked yet. This Mac is linked the next time you log in."_qs
               : names.join(u'\n');
}

/// The logins with which the user can be asked who they are.
std::vector<AuthProvider> AccountWindow::verifiers() const {
    std::vector<AuthProvider> found;
    if (const auto user = m_status.state().user()) {
        for (const AuthProvider provider : user->linkedProviders) {
            if (m_status.providerAvailability().offers(provider)) {
                found.push_back(provider);
            }
        }
    }
    return found;
}

void AccountWindow::showDeletion() {
    const bool isRetry = m_status.deletionRetryAvailable();
    m_delete->setText(isRetry ? u"Retry account deletion"_qs : u"Delete account"_qs);
    if (!m_status.state().isSignedIn()) {
        return;
    }
    QStringList names;
    for (const AuthProvider provider : verifiers()) {
        names.append(u"Verify with "_qs + PlainControls::nameOf(provider));
    }
    if (names != m_verifierNames) {
        m_verifierNames = names;
        m_verifyWith->clear();
        m_verifyWith->addItems(names);
    }
    m_verifyWith->setVisible(names.size() > 1 && !isRetry);
    m_delete->setEnabled(isRetry || !names.isEmpty());
}

void AccountWindow::confirmDeletion() {
    if (m_status.deletionRetryAvailable()) {
        TaskHandle::detach([this](std::stop_token) { return m_account.retryAccountDeletion(); });
        return;
    }
    const std::vector<AuthProvider> providers = verifiers();
    const auto chosen = std::size_t(std::max(m_verifyWith->currentIndex(), 0));
    if (chosen >= providers.size()) {
        return;
    }
    const AuthProvider provider = providers[chosen];
    auto* question =
        new QMessageBox(QMessageBox::Warning, u"Verify your linked account"_qs,
                        u"To delete your Lumivane account, verify the linked %1 account you used "
                        "to sign in. Your provider may ask you to choose an account or sign in "
                        "again."_qs.arg(PlainControls::nameOf(provider)),
                        QMessageBox::Cancel, this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    const auto* verify = question->addButton(u"Verify account"_qs, QMessageBox::DestructiveRole);
    connect(verify, &QAbstractButton::clicked, this, [this, provider] {
        TaskHandle::detach(
            [this, provider](std::stop_token) { return m_account.deleteAccount(provider); });
    });
    question->open();
}

} // namespace lumivane
