#include "server/profile/HandleFilterPublisher.h"

#include "server/accounts/Tokens.h"
#include "server/profile/HandleFilter.h"
#include "server/store/Database.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace lumivane::service {

namespace {

using Freshness = HandleFilterPublisher::Freshness;

// What the table says of the filter, apart from the filter itself.
struct FilterRow {
    long long checkedAt = 0;
    long long builderUntil = 0;
    std::string version; // empty before the first build
};

struct BuiltFilter {
    std::string fingerprint;
    PublishedHandleFilter filter;
};

// The hash of all handles in turn, which tells whether the set has changed without a second copy
// of it.
class Fingerprint {
public:
    Fingerprint()
        : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
        require(m_context != nullptr &&
                EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) == 1);
    }

    void add(const std::string& handle) {
        // The NUL at its end parts it from the next one.
        require(EVP_DigestUpdate(m_context.get(), handle.c_str(), handle.size() + 1) == 1);
    }

    std::string text() {
        std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
        unsigned length = 0;
        require(EVP_DigestFinal_ex(m_context.get(), digest.data(), &length) == 1);
        return base64Url({reinterpret_cast<const char*>(digest.data()), length});
    }

private:
    static void require(bool hasWorked) {
        if (!hasWorked) {
            throw std::runtime_error("the hash of the handles cannot be computed");
        }
    }

    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> m_context;
};

std::vector<std::string> handlesAfter(soci::session& sql, const std::string& last, long long most) {
    std::vector<std::string> page(static_cast<std::size_t>(most));
    soci::statement select = (sql.prepare << "SELECT handle_folded FROM accounts "
                                             "WHERE handle_folded > :last "
                                             "ORDER BY handle_folded LIMIT :most",
                              soci::use(last), soci::use(most), soci::into(page));
    // A page that is not full comes back shortened.
    if (!select.execute(true)) {
        page.clear();
    }
    return page;
}

long long countOfAccounts(soci::session& sql) {
    long long count = 0;
    sql << "SELECT COUNT(*) FROM accounts", soci::into(count);
    return count;
}

// A clock that was set back must not hold things up for longer than the span itself.
bool isWithin(std::int64_t now, std::int64_t since, std::chrono::milliseconds span) {
    return now - since < span.count() && since - now < span.count();
}

bool isLeased(std::int64_t now, std::int64_t until, std::chrono::milliseconds lease) {
    return now < until && until - now <= lease.count();
}

FilterRow readRow(soci::session& sql) {
    FilterRow row;
    soci::indicator hasVersion = soci::i_null;
    sql << "SELECT checked_at, builder_until, version FROM handle_filters WHERE slot = 0",
        soci::into(row.checkedAt), soci::into(row.builderUntil),
        soci::into(row.version, hasVersion);
    return row;
}

Freshness freshnessOf(const FilterRow& row, std::int64_t now,
                      const HandleFilterSettings& settings) {
    const bool hasFilter = !row.version.empty();
    const bool isBuilding = isLeased(now, row.builderUntil, settings.buildLease);
    if (isBuilding || (hasFilter && isWithin(now, row.checkedAt, settings.checkInterval))) {
        return Freshness::fresh;
    }
    const bool isTooOld = hasFilter && !isWithin(now, row.checkedAt, settings.longestAge);
    return isTooOld ? Freshness::overdue : Freshness::due;
}

BuiltFilter build(Database& database, const HandleFilterSettings& settings) {
    const long long count = database.read(countOfAccounts);
    HandleFilter filter(
        handleFilterShape(static_cast<std::uint64_t>(count), settings.falsePositiveRate),
        makeHandleFilterSeed());
    Fingerprint fingerprint;
    // Page by page, since one long picture of the whole table would be in the way of everybody who
    // writes. A handle that somebody held all the while is in one of the pages.
    std::string last;
    const long long most = settings.pageSize;
    std::vector<std::string> page;
    do {
        page = database.read(
            [&last, most](soci::session& sql) { return handlesAfter(sql, last, most); });
        for (const std::string& handle : page) {
            filter.insert(handle);
            fingerprint.add(handle);
        }
        last = page.empty() ? last : page.back();
    } while (page.size() == static_cast<std::size_t>(most));
    const std::string version = makeIdentifier();
    return {fingerprint.text(), {version, filter.encoded(version)}};
}

// False where nothing new came out, or where another replica has the lease by now and with it newer
// handles.
bool publish(soci::session& sql, const BuiltFilter& built, long long lease, long long now) {
    std::string fingerprint;
    soci::indicator hasFingerprint = soci::i_null;
    sql << "SELECT fingerprint FROM handle_filters WHERE slot = 0 AND builder_until = :until",
        soci::use(lease), soci::into(fingerprint, hasFingerprint);
    if (!sql.got_data()) {
        return false;
    }
    sql << "UPDATE handle_filters SET checked_at = :now, builder_until = 0 WHERE slot = 0",
        soci::use(now);
    if (hasFingerprint == soci::i_ok && fingerprint == built.fingerprint) {
        return false;
    }
    sql << "UPDATE handle_filters SET fingerprint = :fingerprint, version = :version, "
           "body = :body WHERE slot = 0",
        soci::use(built.fingerprint), soci::use(built.filter.version), soci::use(built.filter.body);
    return true;
}

} // namespace

HandleFilterPublisher::HandleFilterPublisher(Database& database, const WallClock& clock,
                                             HandleFilterSettings settings)
    : m_database(database)
    , m_clock(clock)
    , m_settings(settings) {}

std::shared_ptr<const PublishedHandleFilter> HandleFilterPublisher::load() {
    auto filter = m_database.read([](soci::session& sql) {
        PublishedHandleFilter read;
        sql << "SELECT version, body FROM handle_filters WHERE slot = 0", soci::into(read.version),
            soci::into(read.body);
        return read;
    });
    auto shared = std::make_shared<const PublishedHandleFilter>(std::move(filter));
    const std::lock_guard lock(m_mutex);
    m_latest = shared;
    return shared;
}

HandleFilterPublisher::Current HandleFilterPublisher::current() {
    const FilterRow row = m_database.read(readRow);
    const Freshness freshness = freshnessOf(row, storedTime(m_clock.now()), m_settings);
    if (row.version.empty()) {
        return {nullptr, freshness};
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_latest && m_latest->version == row.version) {
            return {m_latest, freshness};
        }
    }
    return {load(), freshness};
}

std::optional<std::int64_t> HandleFilterPublisher::takeLease() {
    const long long now = storedTime(m_clock.now());
    const long long until = now + m_settings.buildLease.count();
    return m_database.transact([&](soci::session& sql) -> std::optional<std::int64_t> {
        sql << "INSERT INTO handle_filters (slot, checked_at, builder_until) VALUES (0, 0, 0) "
               "ON CONFLICT (slot) DO NOTHING";
        if (freshnessOf(readRow(sql), now, m_settings) == Freshness::fresh) {
            return std::nullopt;
        }
        sql << "UPDATE handle_filters SET builder_until = :until WHERE slot = 0", soci::use(until);
        return until;
    });
}

bool HandleFilterPublisher::rebuild() {
    if (m_isRebuilding.exchange(true)) {
        return false;
    }

    struct Reset {
        std::atomic<bool>& flag;

        ~Reset() { flag = false; }
    } const reset{m_isRebuilding};

    const auto lease = takeLease();
    if (!lease) {
        return false;
    }
    const BuiltFilter built = build(m_database, m_settings);
    const long long now = storedTime(m_clock.now());
    return m_database.transact(
        [&](soci::session& sql) { return publish(sql, built, *lease, now); });
}

} // namespace lumivane::service
