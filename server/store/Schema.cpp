#include "server/store/Migrations.h"

namespace lumivane::service {

namespace {

// Both engines read the same text: TEXT and BIGINT only, times in milliseconds, truth as 0 and 1.
// A column named "hash" holds the lower-case hexadecimal SHA-256 of a secret that is nowhere else.

// What all replicas must agree on. "token_pepper" goes into every derived token.
constexpr const char* serviceSecrets = R"sql(
CREATE TABLE service_secrets (
    name  TEXT PRIMARY KEY,
    value TEXT NOT NULL
))sql";

// One person. device_id is the machine that held the account last, which nobody asks for: whether
// one still does is told by an open session. handle_folded is what handles are compared by.
constexpr const char* accounts = R"sql(
CREATE TABLE accounts (
    id            TEXT PRIMARY KEY,
    display_name  TEXT NOT NULL,
    handle        TEXT NOT NULL,
    handle_folded TEXT NOT NULL UNIQUE,
    device_id     TEXT,
    created_at    BIGINT NOT NULL
))sql";

// A login of a provider that opens an account: at most one of each provider.
constexpr const char* identities = R"sql(
CREATE TABLE identities (
    provider       TEXT NOT NULL,
    subject        TEXT NOT NULL,
    account_id     TEXT NOT NULL REFERENCES accounts (id) ON DELETE CASCADE,
    email          TEXT,
    email_folded   TEXT,
    email_verified BIGINT NOT NULL,
    linked_at      BIGINT NOT NULL,
    PRIMARY KEY (provider, subject),
    UNIQUE (account_id, provider)
))sql";
constexpr const char* identitiesByEmail =
    "CREATE INDEX identities_by_email ON identities (email_folded)";

// Every machine that ever held the account, as it last described itself.
constexpr const char* devices = R"sql(
CREATE TABLE devices (
    account_id    TEXT NOT NULL REFERENCES accounts (id) ON DELETE CASCADE,
    device_id     TEXT NOT NULL,
    name          TEXT NOT NULL,
    kind          TEXT NOT NULL,
    os_version    TEXT NOT NULL,
    registered_at BIGINT NOT NULL,
    last_seen_at  BIGINT NOT NULL,
    PRIMARY KEY (account_id, device_id)
))sql";

// A login on a machine, and with it a family of tokens. end_reason is "replaced", "evicted",
// "replayed", "revoked", "signed_out" or "expired".
constexpr const char* sessions = R"sql(
CREATE TABLE sessions (
    id         TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts (id) ON DELETE CASCADE,
    device_id  TEXT,
    created_at BIGINT NOT NULL,
    ended_at   BIGINT,
    end_reason TEXT
))sql";
constexpr const char* sessionsByAccount =
    "CREATE INDEX sessions_by_account ON sessions (account_id)";
// The one-device rule, which no race can get around.
constexpr const char* oneOpenSession =
    "CREATE UNIQUE INDEX sessions_one_open ON sessions (account_id) WHERE ended_at IS NULL";

// A token of a family. Once exchanged it keeps under which operation and what came of it, so that
// the same question gets the same answer: the tokens themselves are derived anew.
constexpr const char* refreshTokens = R"sql(
CREATE TABLE refresh_tokens (
    hash                 TEXT PRIMARY KEY,
    session_id           TEXT NOT NULL REFERENCES sessions (id) ON DELETE CASCADE,
    expires_at           BIGINT NOT NULL,
    operation_id         TEXT,
    exchanged_at         BIGINT,
    successor_hash       TEXT UNIQUE,
    successor_expires_at BIGINT,
    access_expires_at    BIGINT
))sql";
constexpr const char* refreshTokensBySession =
    "CREATE INDEX refresh_tokens_by_session ON refresh_tokens (session_id)";
constexpr const char* refreshTokensByExpiry =
    "CREATE INDEX refresh_tokens_by_expiry ON refresh_tokens (expires_at)";

// A session whose login was extended has tokens of several lines, of which the client keeps one. A
// new line is numbered above the others; superseded_at is when the client turned out to have kept
// another one.
constexpr const char* refreshTokenLines =
    "ALTER TABLE refresh_tokens ADD COLUMN line BIGINT NOT NULL DEFAULT 0";
constexpr const char* refreshTokenSupersession =
    "ALTER TABLE refresh_tokens ADD COLUMN superseded_at BIGINT";
constexpr const char* refreshTokensToExchange =
    "CREATE INDEX refresh_tokens_to_exchange ON refresh_tokens (session_id) "
    "WHERE exchanged_at IS NULL";

constexpr const char* accessTokens = R"sql(
CREATE TABLE access_tokens (
    hash       TEXT PRIMARY KEY,
    session_id TEXT NOT NULL REFERENCES sessions (id) ON DELETE CASCADE,
    expires_at BIGINT NOT NULL
))sql";
constexpr const char* accessTokensBySession =
    "CREATE INDEX access_tokens_by_session ON access_tokens (session_id)";
constexpr const char* accessTokensByExpiry =
    "CREATE INDEX access_tokens_by_expiry ON access_tokens (expires_at)";

// A login under way, from its start until the client has fetched what came of it. session_id and
// account_id are those of the person who links or confirms; the identity columns are what the
// provider proved, until the login is fetched. state_hash is that of the browser's secret, empty
// before a browser came and "used" after it came back; provider_verifier is empty, since the
// verifier follows from the same secret.
constexpr const char* loginTransactions = R"sql(
CREATE TABLE login_transactions (
    id                 TEXT PRIMARY KEY,
    provider           TEXT NOT NULL,
    intent             TEXT NOT NULL,
    code_challenge     TEXT NOT NULL,
    session_id         TEXT REFERENCES sessions (id) ON DELETE CASCADE,
    account_id         TEXT REFERENCES accounts (id) ON DELETE CASCADE,
    state_hash         TEXT NOT NULL,
    provider_verifier  TEXT,
    created_at         BIGINT NOT NULL,
    expires_at         BIGINT NOT NULL,
    subject            TEXT,
    email              TEXT,
    email_verified     BIGINT,
    suggested_name     TEXT,
    handoff_hash       TEXT UNIQUE,
    handoff_expires_at BIGINT,
    completed_at       BIGINT
))sql";
constexpr const char* loginTransactionsByExpiry =
    "CREATE INDEX login_transactions_by_expiry ON login_transactions (expires_at)";
constexpr const char* loginTransactionsBySession =
    "CREATE INDEX login_transactions_by_session ON login_transactions (session_id)";
constexpr const char* loginTransactionsByAccount =
    "CREATE INDEX login_transactions_by_account ON login_transactions (account_id)";

// Leave to move an account to another machine. Once used it keeps by which one and what came of
// it, for the same reason as an exchanged token.
constexpr const char* takeoverTickets = R"sql(
CREATE TABLE takeover_tickets (
    hash               TEXT PRIMARY KEY,
    account_id         TEXT NOT NULL REFERENCES accounts (id) ON DELETE CASCADE,
    expires_at         BIGINT NOT NULL,
    used_at            BIGINT,
    device_id          TEXT,
    session_id         TEXT REFERENCES sessions (id) ON DELETE CASCADE,
    access_expires_at  BIGINT,
    refresh_expires_at BIGINT
))sql";
constexpr const char* takeoverTicketsByAccount =
    "CREATE INDEX takeover_tickets_by_account ON takeover_tickets (account_id)";
constexpr const char* takeoverTicketsBySession =
    "CREATE INDEX takeover_tickets_by_session ON takeover_tickets (session_id)";
constexpr const char* takeoverTicketsByExpiry =
    "CREATE INDEX takeover_tickets_by_expiry ON takeover_tickets (expires_at)";

// That somebody logged in once more, in order to delete the account.
constexpr const char* reauthProofs = R"sql(
CREATE TABLE reauth_proofs (
    hash       TEXT PRIMARY KEY,
    account_id TEXT NOT NULL REFERENCES accounts (id) ON DELETE CASCADE,
    session_id TEXT NOT NULL REFERENCES sessions (id) ON DELETE CASCADE,
    expires_at BIGINT NOT NULL,
    used_at    BIGINT
))sql";
// A proof that was used is deleted, with the account or before.
constexpr const char* reauthProofsWithoutUse = "ALTER TABLE reauth_proofs DROP COLUMN used_at";
constexpr const char* reauthProofsByAccount =
    "CREATE INDEX reauth_proofs_by_account ON reauth_proofs (account_id)";
constexpr const char* reauthProofsBySession =
    "CREATE INDEX reauth_proofs_by_session ON reauth_proofs (session_id)";
constexpr const char* reauthProofsByExpiry =
    "CREATE INDEX reauth_proofs_by_expiry ON reauth_proofs (expires_at)";

// The filter of taken handles that all replicas hand out, in the one row of slot 0. builder_until
// is the lease of the replica that builds the next one; fingerprint is the SHA-256 of the handles
// that the filter holds, and checked_at when they were last compared.
constexpr const char* handleFilters = R"sql(
CREATE TABLE handle_filters (
    slot          BIGINT PRIMARY KEY,
    checked_at    BIGINT NOT NULL,
    builder_until BIGINT NOT NULL,
    fingerprint   TEXT,
    version       TEXT,
    body          TEXT
))sql";

} // namespace

const std::vector<Migration>& migrations() {
    // clang-format off
    static const std::vector<Migration> steps = {
        {1, {serviceSecrets,
             accounts,
             identities, identitiesByEmail,
             devices,
             sessions, sessionsByAccount, oneOpenSession,
             refreshTokens, refreshTokensBySession, refreshTokensByExpiry,
             accessTokens, accessTokensBySession, accessTokensByExpiry,
             loginTransactions, loginTransactionsByExpiry, loginTransactionsBySession,
             loginTransactionsByAccount,
             takeoverTickets, takeoverTicketsByAccount, takeoverTicketsBySession,
             takeoverTicketsByExpiry,
             reauthProofs, reauthProofsByAccount, reauthProofsBySession, reauthProofsByExpiry,
             handleFilters}},
        {2, {refreshTokenLines, refreshTokenSupersession, refreshTokensToExchange}},
        {3, {reauthProofsWithoutUse}},
    };
    // clang-format on
    return steps;
}

} // namespace lumivane::service
