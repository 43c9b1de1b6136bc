#include "provisional/ProfileForm.h"

#include "async/TaskHandle.h"
#include "provisional/PlainControls.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QPointer>
#include <QShortcut>

namespace lumivane {

namespace {

using Case = ProfileFieldState::Case;

/// Whether the state is one through which a session lasts, though it does not show its user.
bool isBetween(const AuthenticationState& state) {
    return state.is(AuthenticationState::Case::authorizing) ||
           state.is(AuthenticationState::Case::refreshing);
}

} // namespace

ProfileForm::ProfileForm(AuthenticationCoordinator& account)
    : m_account(account)
    , m_status(account.status())
    , m_displayName(makeField(&UserSummary::displayName,
                              &AuthenticationCoordinator::commitDisplayName,
                              &AccountStatus::displayNameState))
    , m_handle(makeField(&UserSummary::handle, &AuthenticationCoordinator::commitHandle,
                         &AccountStatus::handleState))
    , m_email(PlainControls::label()) {
    connect(m_handle.edit, &QLineEdit::textEdited, this,
            [this](const QString& draft) { m_account.handleDraftChanged(draft); });
    auto* form = new QFormLayout(this);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(u"&Display name"_qs, m_displayName.edit);
    form->addRow(QString(), m_displayName.state);
    auto* handle = new QHBoxLayout;
    handle->addWidget(new QLabel(u"@"_qs));
    handle->addWidget(m_handle.edit);
    auto* handleLabel = new QLabel(u"&Handle"_qs);
    handleLabel->setBuddy(m_handle.edit);
    form->addRow(handleLabel, handle);
    form->addRow(QString(), PlainControls::label(u"Your public @name. Press Return to save."_qs));
    form->addRow(QString(), m_handle.state);
    form->addRow(u"Verified email"_qs, m_email);
    connect(&m_status, &AccountStatus::stateChanged, this, &ProfileForm::showUser);
    connect(&m_status, &AccountStatus::handleStateChanged, this, &ProfileForm::showFields);
    connect(&m_status, &AccountStatus::displayNameStateChanged, this, &ProfileForm::showFields);
    showUser();
    showFields();
}

ProfileForm::Field ProfileForm::makeField(QString UserSummary::*value, Commit commit,
                                          State stateOf) {
    const Field field{new QLineEdit, PlainControls::label(), value, commit, stateOf};
    connect(field.edit, &QLineEdit::returnPressed, this, [this, field] {
        TaskHandle::detach([this, field](std::stop_token) { return this->commit(field); });
    });
    auto* escape = new QShortcut(Qt::Key_Escape, field.edit);
    escape->setContext(Qt::WidgetShortcut);
    connect(escape, &QShortcut::activated, this, [this, field] {
        if (field.value == &UserSummary::handle) {
            m_account.revertHandle(field.edit->text());
        } else {
            m_account.revertDisplayName();
        }
        dropDraft(field);
    });
    return field;
}

// GCC 12 follows a wild address where a coroutine calls by a member's pointer of its own frame.
QCoro::Task<void> ProfileForm::commit(const Field& field) {
    const QString draft = field.edit->text();
    return finish(field, draft, (m_account.*field.commit)(draft));
}

QCoro::Task<void> ProfileForm::finish(Field field, QString draft, QCoro::Task<void> saving) {
    const QPointer<ProfileForm> self(this);
    co_await std::move(saving);
    if (!self || field.edit->text() != draft) {
        co_return;
    }
    endDraft(field);
}

void ProfileForm::endDraft(const Field& field) {
    // Saved, or nothing to save.
    const ProfileFieldState& state = (m_status.*field.stateOf)();
    if (state.is(Case::saved) || state.is(Case::idle)) {
        dropDraft(field);
    }
}

void ProfileForm::showUser() {
    const auto user = m_status.state().user();
    if (user) {
        show(m_displayName, *user);
        show(m_handle, *user);
        m_email->setText(user->verifiedEmail.value_or(QString()));
    } else if (!isBetween(m_status.state())) {
        m_displayName.edit->setText(QString());
        m_handle.edit->setText(QString());
        m_email->clear();
    }
}

void ProfileForm::showFields() {
    m_handle.state->setText(m_status.handleState().message().value_or(QString()));
    m_displayName.state->setText(m_status.displayNameState().message().value_or(QString()));
    if (m_status.handleState().is(Case::reverted)) {
        dropDraft(m_handle);
    }
}

void ProfileForm::show(const Field& field, const UserSummary& user) {
    if (!field.edit->isModified()) {
        field.edit->setText(user.*field.value);
    }
}

void ProfileForm::dropDraft(const Field& field) {
    field.edit->setModified(false);
    if (const auto user = m_status.state().user()) {
        show(field, *user);
    }
}

} // namespace lumivane
