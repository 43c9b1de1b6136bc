#include "provisional/LinkedLogins.h"

#include "async/TaskHandle.h"
#include "provisional/PlainControls.h"

#include <QMessageBox>

namespace lumivane {

LinkedLogins::LinkedLogins(AuthenticationCoordinator& account)
    : m_account(account)
    , m_status(account.status())
    , m_rows(new QVBoxLayout) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(PlainControls::label(u"Linked accounts"_qs));
    layout->addLayout(m_rows);
    layout->addWidget(PlainControls::label(
        u"Signing in with any service that uses your verified email links it here automatically, "
        "so unlinking one lasts only until you next sign in with it."_qs));
    connect(&m_status, &AccountStatus::stateChanged, this, &LinkedLogins::showRows);
    connect(&m_status, &AccountStatus::providerAvailabilityChanged, this, &LinkedLogins::showRows);
    showRows();
}

void LinkedLogins::showRows() {
    const auto user = m_status.state().user();
    if (!user) {
        return;
    }
    // A button that is made anew loses the focus, and the state changes without the rows.
    const Basis basis{user->linkedProviders, m_status.providerAvailability()};
    if (m_shown == basis) {
        return;
    }
    m_shown = basis;
    PlainControls::clear(*m_rows);
    showAvailability(basis.offered);
    for (const AuthProvider provider : allCases<AuthProvider>()) {
        if (user->isLinked(provider)) {
            showLinked(provider, user->linkedProviders.size() == 1);
        } else if (basis.offered.offers(provider)) {
            m_rows->addWidget(
                PlainControls::button(u"Link "_qs + PlainControls::nameOf(provider),
                                      [this, provider] { return m_account.link(provider); }));
        }
    }
}

void LinkedLogins::showAvailability(const ProviderAvailability& offered) {
    using Case = ProviderAvailability::Case;
    if (offered.is(Case::loading)) {
        m_rows->addWidget(PlainControls::label(u"Loading login providers…"_qs));
    } else if (offered.is(Case::unavailable)) {
        m_rows->addWidget(PlainControls::label(u"Login providers are temporarily unavailable."_qs));
        m_rows->addWidget(PlainControls::button(
            u"Retry"_qs, [this] { return m_account.loadProviders(Loading::again); }));
    }
}

void LinkedLogins::showLinked(AuthProvider provider, bool isOnly) {
    auto* unlink = new QPushButton(u"Unlink "_qs + PlainControls::nameOf(provider));
    unlink->setEnabled(!isOnly);
    unlink->setToolTip(isOnly ? u"Your only login. Link another one first."_qs
                              : u"Removes this login. You stay signed in with the others."_qs);
    connect(unlink, &QPushButton::clicked, this, [this, provider] { confirmUnlink(provider); });
    m_rows->addWidget(unlink);
}

void LinkedLogins::confirmUnlink(AuthProvider provider) {
    const QString name = PlainControls::nameOf(provider);
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

} // namespace lumivane
