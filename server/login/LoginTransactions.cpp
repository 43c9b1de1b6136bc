#include "server/login/LoginTransactions.h"

#include <soci/soci.h>

namespace lumivane::service {

namespace {

struct OptionalText {
    std::string text;
    soci::indicator indicator = soci::i_null;

    explicit OptionalText(const std::optional<std::string>& value = std::nullopt)
        : text(value.value_or(""))
        , indicator(value ? soci::i_ok : soci::i_null) {}

    bool isThere() const { return indicator == soci::i_ok; }

    std::optional<std::string> value() const {
        return isThere() ? std::optional(text) : std::nullopt;
    }
};

struct OptionalNumber {
    long long number = 0;
    soci::indicator indicator = soci::i_null;

    long long value() const { return indicator == soci::i_ok ? number : 0; }
};

bool changesOneRow(soci::statement& statement) {
    statement.execute(true);
    return statement.get_affected_rows() == 1;
}

// The columns that can be empty, as they come out of the database.
struct Columns {
    OptionalText account;
    OptionalText session;
    OptionalText subject;
    OptionalText email;
    OptionalNumber isVerified;
    OptionalText name;
    OptionalText handoff;
    OptionalNumber handoffExpiry;
    OptionalNumber completed;
};

void fill(LoginTransaction& transaction, const Columns& columns) {
    if (columns.account.isThere() && columns.session.isThere()) {
        transaction.owner = LoginOwner{columns.account.text, columns.session.text};
    }
    if (columns.subject.isThere()) {
        ProvedIdentity identity;
        identity.subject = columns.subject.text;
        identity.email = columns.email.value();
        identity.isEmailVerified = columns.isVerified.value() != 0;
        identity.suggestedName = columns.name.value().value_or("");
        transaction.identity = std::move(identity);
    }
    transaction.handoffHash = columns.handoff.value().value_or("");
    transaction.handoffExpiresAt = wallTime(columns.handoffExpiry.value());
    transaction.isCompleted = columns.completed.indicator == soci::i_ok;
}

} // namespace

void insertTransaction(soci::session& sql, const LoginTransaction& transaction, WallTime now) {
    const std::string provider(rawValue(transaction.provider));
    const std::string intent(rawValue(transaction.intent));
    const auto& owner = transaction.owner;
    OptionalText account(owner ? std::optional(owner->accountId) : std::nullopt);
    OptionalText session(owner ? std::optional(owner->sessionId) : std::nullopt);
    const long long created = storedTime(now);
    const long long expiry = storedTime(transaction.expiresAt);
    sql << "INSERT INTO login_transactions (id, provider, intent, code_challenge, session_id, "
           "account_id, state_hash, created_at, expires_at) VALUES (:id, :provider, :intent, "
           ":challenge, :session, :account, :browser, :created, :expiry)",
        soci::use(transaction.id), soci::use(provider), soci::use(intent),
        soci::use(transaction.codeChallenge), soci::use(session.text, session.indicator),
        soci::use(account.text, account.indicator), soci::use(transaction.browserHash),
        soci::use(created), soci::use(expiry);
}

std::optional<LoginTransaction> findTransaction(soci::session& sql, const std::string& id) {
    LoginTransaction transaction;
    Columns columns;
    std::string provider;
    std::string intent;
    long long expiry = 0;
    sql << "SELECT provider, intent, code_challenge, session_id, account_id, state_hash, "
           "expires_at, subject, email, email_verified, suggested_name, handoff_hash, "
           "handoff_expires_at, completed_at FROM login_transactions WHERE id = :id",
        soci::use(id), soci::into(provider), soci::into(intent),
        soci::into(transaction.codeChallenge),
        soci::into(columns.session.text, columns.session.indicator),
        soci::into(columns.account.text, columns.account.indicator),
        soci::into(transaction.browserHash), soci::into(expiry),
        soci::into(columns.subject.text, columns.subject.indicator),
        soci::into(columns.email.text, columns.email.indicator),
        soci::into(columns.isVerified.number, columns.isVerified.indicator),
        soci::into(columns.name.text, columns.name.indicator),
        soci::into(columns.handoff.text, columns.handoff.indicator),
        soci::into(columns.handoffExpiry.number, columns.handoffExpiry.indicator),
        soci::into(columns.completed.number, columns.completed.indicator);
    const auto knownProvider = providerNamed(provider);
    const auto knownIntent = authIntentNamed(intent);
    if (!sql.got_data() || !knownProvider || !knownIntent) {
        return std::nullopt;
    }
    transaction.id = id;
    transaction.provider = *knownProvider;
    transaction.intent = *knownIntent;
    transaction.expiresAt = wallTime(expiry);
    fill(transaction, columns);
    return transaction;
}

bool changeBrowser(soci::session& sql, const std::string& id, std::string_view from,
                   std::string_view to) {
    const std::string before(from);
    const std::string after(to);
    soci::statement change = (sql.prepare << "UPDATE login_transactions SET state_hash = :after "
                                             "WHERE id = :id AND state_hash = :before",
                              soci::use(after), soci::use(id), soci::use(before));
    return changesOneRow(change);
}

void keepProvedIdentity(soci::session& sql, const std::string& id, const ProvedIdentity& identity,
                        const std::string& handoffHash, WallTime handoffExpiresAt) {
    OptionalText email(identity.email);
    const long long isVerified = identity.email && identity.isEmailVerified ? 1 : 0;
    const long long expiry = storedTime(handoffExpiresAt);
    sql << "UPDATE login_transactions SET subject = :subject, email = :email, "
           "email_verified = :verified, suggested_name = :name, handoff_hash = :handoff, "
           "handoff_expires_at = :expiry WHERE id = :id",
        soci::use(identity.subject), soci::use(email.text, email.indicator), soci::use(isVerified),
        soci::use(identity.suggestedName), soci::use(handoffHash), soci::use(expiry), soci::use(id);
}

bool markCompleted(soci::session& sql, const std::string& id, WallTime now) {
    const long long time = storedTime(now);
    soci::statement mark = (sql.prepare << "UPDATE login_transactions SET completed_at = :now, "
                                           "subject = NULL, email = NULL, email_verified = NULL, "
                                           "suggested_name = NULL, handoff_hash = NULL "
                                           "WHERE id = :id AND completed_at IS NULL",
                            soci::use(time), soci::use(id));
    return changesOneRow(mark);
}

} // namespace lumivane::service
