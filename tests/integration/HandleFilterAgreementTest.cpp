#include "accounts/HandleAvailabilityChecker.h"
#include "accounts/HandleFilterPayload.h"
#include "accounts/HandleFilterSnapshot.h"
#include "server/TemporaryFolder.h"
#include "server/profile/HandleFilter.h"
#include "server/profile/HandleFilterPublisher.h"
#include "server/store/Database.h"
#include "support/ManualClock.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace lumivane {

namespace {

constexpr int taken = 100'000;
constexpr double designRate = 0.01;

std::optional<HandleFilterSnapshot> readByTheClient(const std::string& body) {
    const auto size = static_cast<qsizetype>(body.size());
    return HandleFilterSnapshot::from(
        decodeJson<HandleFilterPayload>(QByteArrayView(body.data(), size)));
}

std::string handleNumber(int number) { return "taken.handle_" + std::to_string(number); }

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

// What the handles of a database come to on the wire, straight or by way of the store.
int falsePositives(const HandleFilterSnapshot& filter, int asked) {
    int wrong = 0;
    for (int number = 0; number < asked; ++number) {
        wrong += filter.mayContain(text("free-" + std::to_string(number))) ? 1 : 0;
    }
    return wrong;
}

void addAccounts(service::Database& database) {
    database.transact([](soci::session& sql) {
        std::string id;
        std::string handle;
        std::string folded;
        soci::statement insert =
            (sql.prepare << "INSERT INTO accounts (id, display_name, handle, handle_folded, "
                            "created_at) VALUES (:id, 'Name', :handle, :folded, 0)",
             soci::use(id), soci::use(handle), soci::use(folded));
        for (int number = 0; number < taken; ++number) {
            id = std::to_string(number);
            folded = handleNumber(number);
            handle = "T" + folded.substr(1);
            insert.execute(true);
        }
    });
}

class UnmovedClock final : public service::WallClock {
public:
    service::WallTime now() const override {
        return service::WallTime(std::chrono::milliseconds(1'794'723'930'000));
    }
};

} // namespace

TEST(HandleFilterAgreement, TheClientFindsEveryHandleOfAServersStore) {
    const service::test::TemporaryFolder folder;
    const service::DatabaseSettings settings{(folder.path() / "accounts.sqlite").string()};
    const auto database = service::Database::open(settings);
    addAccounts(*database);
    const UnmovedClock clock;
    service::HandleFilterPublisher publisher(*database, clock);
    ASSERT_TRUE(publisher.rebuild());
    const auto published = publisher.current().filter;

    const auto filter = readByTheClient(published->body);
    ASSERT_TRUE(filter.has_value());
    EXPECT_EQ(filter->version, text(published->version));
    for (int number = 0; number < taken; ++number) {
        ASSERT_TRUE(filter->mayContain(text(handleNumber(number)))) << number;
    }
    EXPECT_TRUE(filter->mayContain(u" @TAKEN.Handle_7 "_qs));
    const int asked = 100'000;
    const int wrong = falsePositives(*filter, asked);
    const service::HandleFilterShape shape{static_cast<std::uint64_t>(filter->m),
                                           static_cast<std::uint64_t>(filter->k)};
    const double expected = asked * service::falsePositiveRate(shape, taken);
    EXPECT_LE(expected, asked * designRate);
    EXPECT_NEAR(wrong, expected, expected * 0.2);
}

TEST(HandleFilterAgreement, BothSidesReckonTheSameProbes) {
    std::mt19937_64 random(3);
    for (int round = 0; round < 10'000; ++round) {
        const service::HandleFilterShape shape{std::uint64_t{1} << (5 + random() % 20),
                                               1 + random() % 12};
        std::string seed(1 + random() % 32, '\0');
        for (char& byte : seed) {
            byte = static_cast<char>(random());
        }
        const std::string handle = "handle-" + std::to_string(random());
        const HandleFilterSnapshot filter{u"v"_qs, static_cast<std::int64_t>(shape.bits),
                                          static_cast<std::int64_t>(shape.probes),
                                          QByteArray::fromStdString(seed), QByteArray()};
        ASSERT_EQ(filter.probes(text(handle)), service::handleProbes(shape, seed, handle));
    }
}

TEST(HandleFilterAgreement, TheFilterOfNobodyCallsEveryNameFree) {
    const auto shape = service::handleFilterShape(0, designRate);
    const service::HandleFilter empty(shape, service::makeHandleFilterSeed());
    const auto filter = readByTheClient(empty.encoded("v1"));
    ASSERT_TRUE(filter.has_value());
    EXPECT_EQ(falsePositives(*filter, 1'000), 0);
}

TEST(HandleFilterAgreement, TheLargestFilterIsStillReadByTheClient) {
    const auto shape = service::handleFilterShape(50'000'000, designRate);
    service::HandleFilter large(shape, service::makeHandleFilterSeed());
    large.insert("cedar");
    const auto filter = readByTheClient(large.encoded("v1"));
    ASSERT_TRUE(filter.has_value());
    EXPECT_TRUE(filter->mayContain(u"Cedar"_qs));
    EXPECT_FALSE(filter->mayContain(u"oak"_qs));
}

TEST(HandleFilterAgreement, TheFieldAsksTheServiceOnlyAboutWhatMayBeTaken) {
    const auto shape = service::handleFilterShape(1, 0.0001);
    service::HandleFilter one(shape, std::string("\x00\x01", 2));
    one.insert("cedar");
    test::ManualClock clock;
    HandleAvailabilityChecker checker(clock);
    checker.adopt(readByTheClient(one.encoded("v1")));
    EXPECT_EQ(checker.verdict(u"Cedar"_qs, u"ada"_qs), HandleLocalVerdict::needsServerCheck);
    EXPECT_EQ(checker.verdict(u"@oak"_qs, u"ada"_qs), HandleLocalVerdict::available);
    EXPECT_EQ(checker.verdict(u"cedar"_qs, u"CEDAR"_qs), HandleLocalVerdict::available);
    EXPECT_EQ(checker.snapshotVersion(), u"v1"_qs);
}

} // namespace lumivane
