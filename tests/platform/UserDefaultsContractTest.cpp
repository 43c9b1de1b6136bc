#include "platform/linux/FileUserDefaults.h"
#include "support/FakeUserDefaults.h"
#include "support/FileSizeLimit.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

namespace lumivane {

namespace {

/// A store of keys that outlives the objects on it.
class Domain {
public:
    virtual ~Domain() = default;

    /// As after a new start of the program.
    virtual UserDefaults& opened() = 0;

    /// Whether writing fails from now on.
    virtual void refuseWriting() = 0;
};

class FakeDomain final : public Domain {
public:
    UserDefaults& opened() override { return m_defaults; }

    void refuseWriting() override { m_defaults.failWriting(std::errc::no_space_on_device); }

private:
    test::FakeUserDefaults m_defaults;
};

class FileDomain final : public Domain {
public:
    UserDefaults& opened() override {
        m_defaults = std::make_unique<FileUserDefaults>(m_place.filePath(u"config/lumivane"_qs));
        return *m_defaults;
    }

    void refuseWriting() override { m_limit = std::make_unique<test::FileSizeLimit>(0); }

private:
    QTemporaryDir m_place;
    std::unique_ptr<FileUserDefaults> m_defaults;
    std::unique_ptr<test::FileSizeLimit> m_limit;
};

struct Kind {
    std::string name;
    std::function<std::unique_ptr<Domain>()> make;
};

} // namespace

class UserDefaultsContract : public testing::TestWithParam<Kind> {
protected:
    std::optional<QByteArray> stored(const QString& key) { return domain->opened().data(key); }

    std::unique_ptr<Domain> domain = GetParam().make();
};

TEST_P(UserDefaultsContract, NothingIsThereAtFirst) {
    EXPECT_EQ(stored(u"a"_qs), std::nullopt);
    EXPECT_EQ(stored(QString()), std::nullopt);
}

TEST_P(UserDefaultsContract, DataOutlivesTheObject) {
    domain->opened().set("one", u"a"_qs);
    domain->opened().set("two", u"b"_qs);
    EXPECT_EQ(stored(u"a"_qs), "one");
    EXPECT_EQ(stored(u"b"_qs), "two");
    EXPECT_EQ(stored(u"A"_qs), std::nullopt);
}

TEST_P(UserDefaultsContract, TheLastDataUnderAKeyCounts) {
    UserDefaults& defaults = domain->opened();
    defaults.set("one", u"a"_qs);
    defaults.set("two", u"a"_qs);
    EXPECT_EQ(defaults.data(u"a"_qs), "two");
    EXPECT_EQ(stored(u"a"_qs), "two");
}

TEST_P(UserDefaultsContract, AnyBytesComeBackAsTheyWere) {
    QByteArray everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    int number = 0;
    for (const QByteArray& data : {QByteArray(""), QByteArray("\0a\0", 3), QByteArray("\xff"),
                                   QByteArray("\xc3\xa9\n\"\\/"), QByteArray("\xed\xa0\x80"),
                                   QByteArray("{\"a\":1}"), everyByte, QByteArray(100'000, 'x')}) {
        const QString key = u"key "_qs + QString::number(++number);
        domain->opened().set(data, key);
        EXPECT_EQ(stored(key), data) << number;
        EXPECT_FALSE(stored(key)->isNull());
    }
    EXPECT_EQ(stored(u"key 2"_qs), QByteArray("\0a\0", 3));
}

TEST_P(UserDefaultsContract, AKeyIsAnyText) {
    for (const QString& key : {u"ä漢😀"_qs, u"with \"quotes\" and \\"_qs, u"a\nb"_qs, u""_qs,
                               u"base64"_qs, u"Lumivane.native.settings.v10"_qs}) {
        domain->opened().set(key.toUtf8(), key);
        EXPECT_EQ(stored(key), key.toUtf8()) << key.toStdString();
    }
}

TEST_P(UserDefaultsContract, ARemovedKeyIsGoneAndTheOthersStay) {
    domain->opened().set("one", u"a"_qs);
    domain->opened().set("two", u"b"_qs);
    domain->opened().removeObject(u"a"_qs);
    EXPECT_EQ(stored(u"a"_qs), std::nullopt);
    EXPECT_EQ(stored(u"b"_qs), "two");
    domain->opened().removeObject(u"b"_qs);
    EXPECT_EQ(stored(u"b"_qs), std::nullopt);
}

TEST_P(UserDefaultsContract, RemovingWhatIsNotThereDoesNothing) {
    EXPECT_NO_THROW(domain->opened().removeObject(u"a"_qs));
    EXPECT_NO_THROW(domain->opened().removePersistentDomain());
    domain->opened().set("one", u"a"_qs);
    EXPECT_NO_THROW(domain->opened().removeObject(u"b"_qs));
    EXPECT_EQ(stored(u"a"_qs), "one");
}

TEST_P(UserDefaultsContract, ADomainGoesWithAllItsKeysAndCanBeginAnew) {
    domain->opened().set("one", u"a"_qs);
    domain->opened().set("two", u"b"_qs);
    domain->opened().removePersistentDomain();
    EXPECT_EQ(stored(u"a"_qs), std::nullopt);
    EXPECT_EQ(stored(u"b"_qs), std::nullopt);
    domain->opened().set("three", u"a"_qs);
    EXPECT_EQ(stored(u"a"_qs), "three");
    EXPECT_EQ(stored(u"b"_qs), std::nullopt);
}

TEST_P(UserDefaultsContract, AFailureIsThrownAndWhatWasThereStays) {
    domain->opened().set("one", u"a"_qs);
    domain->refuseWriting();
    EXPECT_THROW(domain->opened().set("two", u"a"_qs), std::system_error);
    EXPECT_THROW(domain->opened().set("two", u"b"_qs), std::system_error);
    EXPECT_THROW(domain->opened().removeObject(u"a"_qs), std::system_error);
    EXPECT_EQ(stored(u"a"_qs), "one");
    EXPECT_EQ(stored(u"b"_qs), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    All, UserDefaultsContract,
    testing::Values(Kind{"fake", [] { return std::make_unique<FakeDomain>(); }},
                    Kind{"file", [] { return std::make_unique<FileDomain>(); }}),
    [](const testing::TestParamInfo<Kind>& kind) { return kind.param.name; });

} // namespace lumivane
