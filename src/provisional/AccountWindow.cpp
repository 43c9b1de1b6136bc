#include "provisional/AccountWindow.h"

#include "async/TaskHandle.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QMessageBox>

namespace lumivane {

namespace {

enum Page { progressPage, retryPage, loginPage, takeoverPage, accountPage };

QString nameOf(AuthProvider provider) { return QString::fromLatin1(title(provider)); }

Page pageFor(const AuthenticationState& state) {
    using Case = AuthenticationState::Case;
    switch (state.stateCase()) {
    case Case::restoreFailed:
        return retryPage;
    case Case::signedIn:
        return accountPage;
    case Case::deviceTakeover:
        return takeoverPage;
    case Case::failed:
    case Case::signedOut:
        return loginPage;
    case Case::authorizing:
    case Case::restoring:
    case Case::signingOut:
    case Case::refreshing:
        return progressPage;
    }
    Q_UNREACHABLE();
}

QString progressText(const AuthenticationState& state) {
    if (const auto provider = state.provider()) {
        return u"Waiting for %1…"_qs.arg(nameOf(*provider));
    }
    return state.is(AuthenticationState::Case::signingOut) ? u"Signing out securely…"_qs
                                                           : u"Restoring your session…"_qs;
}

QLabel* wrapped(const QString& text = {}) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

void clear(QLayout* layout) {
    while (QLayoutItem* item = layout->takeAt(0)) {
        // It may be the button whose press has led here.
        if (QWidget* widget = item->widget()) {
            widget->hide();
            widget->deleteLater();
        }
        delete item;
    }
}

} // namespace

AccountWindow::AccountWindow(AuthenticationCoordinator& account)
    : m_account(account)
    , m_status(account.status()) {
    setObjectName(u"accountWindow"_qs);
    for (QWidget* page : {makeProgressPage(), makeRetryPage(), makeLoginPage(), makeTakeoverPage(),
                          makeAccountPage()}) {
        m_pages.addWidget(page);
    }
    m_message.setTextFormat(Qt::PlainText);
    m_message.setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(&m_pages);
    layout->addWidget(&m_message);
    resize(460, 420);
    connectStatus();
    showState();
    showProviders();
    showFields();
}

void AccountWindow::present() {
    show();
    raise();
    activateWindow();
    TaskHandle::detach([this](std::stop_token) { return m_account.loadProviders(false); });
    TaskHandle::detach([this](std::stop_token) { return m_account.loadDevices(false); });
    TaskHandle::detach([this](std::stop_token) { return m_account.primeHandleFilter(false); });
}

void AccountWindow::connectStatus() {
    connect(&m_status, &AccountStatus::stateChanged, this, &AccountWindow::showState);
    connect(&m_status, &AccountStatus::errorMessageChanged, this, &AccountWindow::showMessage);
    connect(&m_status, &AccountStatus::providerAvailabilityChanged, this,
            &AccountWindow::showProviders);
    connect(&m_status, &AccountStatus::devicesChanged, this, &AccountWindow::showDevices);
    connect(&m_status, &AccountStatus::takeoverInFlightChanged, this, &AccountWindow::showTakeover);
    connect(&m_status, &AccountStatus::deletionRetryAvailableChanged, this,
            &AccountWindow::showUser);
    connect(&m_status, &AccountStatus::handleStateChanged, this, &AccountWindow::showFields);
    connect(&m_status, &AccountStatus::displayNameStateChanged, this, &AccountWindow::showFields);
}

QPushButton* AccountWindow::addButton(QLayout* layout, const QString& text, Action action) {
    auto* button = new QPushButton(text);
    connect(button, &QPushButton::clicked, this, [action = std::move(action)] {
        TaskHandle::detach([action](std::stop_token) { return action(); });
    });
    layout->addWidget(button);
    return button;
}

QWidget* AccountWindow::makeProgressPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    m_progress = wrapped();
    layout->addWidget(m_progress);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeRetryPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(wrapped(u"Your saved session is still secure"_qs));
    m_retryMessage = wrapped();
    layout->addWidget(m_retryMessage);
    addButton(layout, u"Retry session restore"_qs, [this] { return m_account.retryRestore(); });
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeLoginPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(wrapped(u"Log in to Lumivane"_qs));
    layout->addWidget(wrapped(u"Choose a provider to analyze your screen. Your provider "
                              "credentials never enter the Lumivane app."_qs));
    m_providers = new QVBoxLayout;
    layout->addLayout(m_providers);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeTakeoverPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(wrapped(u"Move Lumivane to this Mac?"_qs));
    m_takeoverDevice = wrapped();
    layout->addWidget(m_takeoverDevice);
    m_takeoverConfirm =
        addButton(layout, u"Continue"_qs, [this] { return m_account.confirmTakeover(); });
    auto* cancel = new QPushButton(u"Cancel"_qs);
    connect(cancel, &QPushButton::clicked, this, [this] { m_account.cancelTakeover(); });
    layout->addWidget(cancel);
    layout->addStretch();
    return page;
}

QWidget* AccountWindow::makeAccountPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* form = new QFormLayout;
    m_displayName = new QLineEdit;
    m_displayNameStatus = wrapped();
    connect(m_displayName, &QLineEdit::returnPressed, this, [this] {
        TaskHandle::detach(
            [this](std::stop_token) { return m_account.commitDisplayName(m_displayName->text()); });
    });
    m_handle = new QLineEdit;
    m_handleStatus = wrapped();
    connect(m_handle, &QLineEdit::textEdited, this,
            [this](const QString& draft) { m_account.handleDraftChanged(draft); });
    connect(m_handle, &QLineEdit::returnPressed, this, [this] {
        TaskHandle::detach(
            [this](std::stop_token) { return m_account.commitHandle(m_handle->text()); });
    });
    m_email = wrapped();
    m_devices = wrapped();
    form->addRow(u"&Display name"_qs, m_displayName);
    form->addRow(QString(), m_displayNameStatus);
    form->addRow(u"&Handle @"_qs, m_handle);
    form->addRow(QString(), m_handleStatus);
    form->addRow(u"Verified email"_qs, m_email);
    form->addRow(u"Device"_qs, m_devices);
    layout->addLayout(form);
    layout->addWidget(wrapped(u"Linked accounts"_qs));
    m_links = new QVBoxLayout;
    layout->addLayout(m_links);
    layout->addStretch();
    addButton(layout, u"Sign out"_qs, [this] { return m_account.signOut(); });
    m_delete = new QPushButton;
    connect(m_delete, &QPushButton::clicked, this, &AccountWindow::confirmDeletion);
    layout->addWidget(m_delete);
    return page;
}

void AccountWindow::showState() {
    const AuthenticationState& state = m_status.state();
    m_progress->setText(progressText(state));
    m_retryMessage->setText(state.message().value_or(QString()));
    m_pages.setCurrentIndex(pageFor(state));
    setWindowTitle(state.isSignedIn() ? u"Lumivane account"_qs : u"Log in to Lumivane"_qs);
    showTakeover();
    showUser();
    showMessage();
    if (state.isSignedIn() && isVisible()) {
        completeUser();
    }
}

void AccountWindow::completeUser() {
    // A load may end in this very state; only what was not tried in this session is begun here.
    if (m_status.devicesState() == DeviceListState::idle) {
        TaskHandle::detach([this](std::stop_token) { return m_account.loadDevices(false); });
    }
    TaskHandle::detach([this](std::stop_token) { return m_account.primeHandleFilter(false); });
}

void AccountWindow::showMessage() {
    const AuthenticationState& state = m_status.state();
    const auto failure =
        state.is(AuthenticationState::Case::failed) ? state.message() : std::nullopt;
    m_message.setText(failure.value_or(m_status.errorMessage().value_or(QString())));
}

void AccountWindow::showProviders() {
    using Case = ProviderAvailability::Case;
    clear(m_providers);
    const ProviderAvailability& availability = m_status.providerAvailability();
    if (availability.is(Case::loading)) {
        m_providers->addWidget(wrapped(u"Loading login providers…"_qs));
    } else if (availability.is(Case::unavailable)) {
        m_providers->addWidget(wrapped(u"Login providers are temporarily unavailable."_qs));
        addButton(m_providers, u"Retry"_qs, [this] { return m_account.loadProviders(true); });
    } else if (availability.providers().empty()) {
        m_providers->addWidget(wrapped(u"No login providers are switched on yet. Turn one on in "
                                       "the analysis service, then check again."_qs));
        addButton(m_providers, u"Check again"_qs, [this] { return m_account.loadProviders(true); });
    }
    for (const AuthProvider provider : availability.providers()) {
        addButton(m_providers, u"Continue with "_qs + nameOf(provider),
                  [this, provider] { return m_account.signIn(provider); });
    }
    if (QLayoutItem* first = m_providers->itemAt(0)) {
        first->widget()->setFocus();
    }
    showLinks();
}

void AccountWindow::showTakeover() {
    m_takeoverConfirm->setEnabled(!m_status.takeoverInFlight());
    if (const auto context = m_status.state().takeoverContext()) {
        m_takeoverDevice->setText(
            u"Lumivane is signed in on %1. Continue here and that Mac will be signed out."_qs.arg(
                context->currentDevice.name));
    }
}

void AccountWindow::showUser() {
    m_delete->setText(m_status.deletionRetryAvailable() ? u"Retry account deletion"_qs
                                                        : u"Delete account"_qs);
    const auto user = m_status.state().user();
    if (!user) {
        return;
    }
    if (!m_displayName->hasFocus() || !m_displayName->isModified()) {
        m_displayName->setText(user->displayName);
    }
    if (!m_handle->hasFocus() || !m_handle->isModified()) {
        m_handle->setText(user->handle);
    }
    m_email->setText(user->verifiedEmail.value_or(QString()));
    showLinks();
}

void AccountWindow::showDevices() {
    switch (m_status.devicesState()) {
    case DeviceListState::idle:
    case DeviceListState::loading:
        m_devices->setText(u"Loading your devices…"_qs);
        return;
    case DeviceListState::unavailable:
        m_devices->setText(u"Devices are temporarily unavailable."_qs);
        return;
    case DeviceListState::loaded:
        break;
    }
    QStringList names;
    for (const LinkedDevice& device : m_status.devices()) {
        names.append(device.isCurrent ? device.name + u" · THIS MAC"_qs : device.name);
    }
    m_devices->setText(names.isEmpty() ? u"No device is linked yet. This Mac is linked the next "
                                         "time you log in."_qs
                                       : names.join(u'\n'));
}

void AccountWindow::showLinks() {
    const auto user = m_status.state().user();
    if (!user) {
        return;
    }
    clear(m_links);
    for (const AuthProvider provider : m_status.providerAvailability().providers()) {
        if (!user->isLinked(provider)) {
            addButton(m_links, u"Link "_qs + nameOf(provider),
                      [this, provider] { return m_account.link(provider); });
            continue;
        }
        auto* unlink = new QPushButton(u"Unlink "_qs + nameOf(provider));
        unlink->setEnabled(user->linkedProviders.size() > 1);
        connect(unlink, &QPushButton::clicked, this, [this, provider] { confirmUnlink(provider); });
        m_links->addWidget(unlink);
    }
}

void AccountWindow::showFields() {
    m_handleStatus->setText(m_status.handleState().message().value_or(QString()));
    m_displayNameStatus->setText(m_status.displayNameState().message().value_or(QString()));
    const auto user = m_status.state().user();
    if (user && m_status.handleState().is(ProfileFieldState::Case::reverted)) {
        m_handle->setText(user->handle);
    }
}

void AccountWindow::confirmUnlink(AuthProvider provider) {
    const QString name = nameOf(provider);
    auto* question = new QMessageBox(QMessageBox::Question, u"Unlink %1?"_qs.arg(name),
                                     u"You stay signed in with your other logins. To use %1 again "
                                     "you will have to link it back."_qs.arg(name),
                                     QMessageBox::Cancel, this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    const auto* unlink = question->addButton(u"Unlink "_qs + name, QMessageBox::AcceptRole);
    connect(unlink, &QAbstractButton::clicked, this, [this, provider] {
        TaskHandle::detach(
            [this, provider](std::stop_token) { return m_account.unlink(provider); });
    });
    question->open();
}

void AccountWindow::confirmDeletion() {
    if (m_status.deletionRetryAvailable()) {
        TaskHandle::detach([this](std::stop_token) { return m_account.retryAccountDeletion(); });
        return;
    }
    const auto user = m_status.state().user();
    if (!user || user->linkedProviders.empty()) {
        return;
    }
    auto* question =
        new QMessageBox(QMessageBox::Warning, u"Verify your linked account"_qs,
                        u"To delete your Lumivane account, verify a linked account that you use to "
                        "sign in. Your provider may ask you to choose an account or sign in "
                        "again."_qs,
                        QMessageBox::Cancel, this);
    question->setAttribute(Qt::WA_DeleteOnClose);
    for (const AuthProvider provider : user->linkedProviders) {
        const auto* verify = question->addButton(u"Verify with "_qs + nameOf(provider),
                                                 QMessageBox::DestructiveRole);
        connect(verify, &QAbstractButton::clicked, this, [this, provider] {
            TaskHandle::detach(
                [this, provider](std::stop_token) { return m_account.deleteAccount(provider); });
        });
    }
    question->open();
}

} // namespace lumivane
