#include "platform/linux/InstancePlace.h"

#include <QDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace lumivane::test {

class InstancePlaceOfSession : public testing::Test {
protected:
    InstancePlaceOfSession() {
        for (const char* name : variables) {
            if (qEnvironmentVariableIsSet(name)) {
                m_before[name] = qgetenv(name);
            }
            qunsetenv(name);
        }
    }

    ~InstancePlaceOfSession() override {
        for (const char* name : variables) {
            const auto before = m_before.find(name);
            before != m_before.end() ? qputenv(name, before->second) : qunsetenv(name);
        }
    }

    static QString nameWith(const char* variable, const QByteArray& value) {
        qputenv(variable, value);
        return InstancePlace::ofThisSession().name();
    }

private:
    static constexpr const char* variables[] = {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_ID",
                                                "XDG_RUNTIME_DIR"};
    std::map<const char*, QByteArray> m_before;
};

TEST_F(InstancePlaceOfSession, TwoDisplaysAreTwoSessions) {
    const QString first = nameWith("DISPLAY", ":0");
    EXPECT_NE(nameWith("DISPLAY", ":1"), first);
    EXPECT_NE(nameWith("DISPLAY", "localhost:10.0"), first);
    EXPECT_NE(nameWith("DISPLAY", ":00"), first);
    EXPECT_EQ(nameWith("DISPLAY", ":0"), first);
}

TEST_F(InstancePlaceOfSession, ADisplayHasOneNameHoweverItIsWritten) {
    const QString first = nameWith("DISPLAY", ":0");
    for (const char* display : {":0.0", ":0.1", "unix:0", "unix/:0.0"}) {
        EXPECT_EQ(nameWith("DISPLAY", display), first) << display;
    }
    EXPECT_EQ(nameWith("DISPLAY", "host:10.0"), nameWith("DISPLAY", "host:10"));
}

TEST_F(InstancePlaceOfSession, ADisplayCountsMoreThanASessionsNumber) {
    const QString display = nameWith("DISPLAY", ":0");
    EXPECT_EQ(nameWith("XDG_SESSION_ID", "7"), display);
    EXPECT_EQ(nameWith("WAYLAND_DISPLAY", "wayland-0"), display);
}

TEST_F(InstancePlaceOfSession, WithoutADisplayTheNextBestTellsSessionsApart) {
    const QString nothing = InstancePlace::ofThisSession().name();
    const QString seven = nameWith("XDG_SESSION_ID", "7");
    EXPECT_NE(seven, nothing);
    EXPECT_NE(nameWith("XDG_SESSION_ID", "8"), seven);
    EXPECT_NE(nameWith("WAYLAND_DISPLAY", "7"), seven);
}

TEST_F(InstancePlaceOfSession, AProgramThatIsBeingTestedHasAPlaceOfItsOwn) {
    using Use = InstancePlace::Use;
    const QString user = nameWith("DISPLAY", ":0");
    EXPECT_EQ(InstancePlace::ofThisSession(Use::ordinary).name(), user);
    const QString tested = InstancePlace::ofThisSession(Use::testing).name();
    EXPECT_NE(tested, user);
    qputenv("DISPLAY", ":1");
    EXPECT_NE(InstancePlace::ofThisSession(Use::testing).name(), tested);
}

TEST_F(InstancePlaceOfSession, NamesAreShortAndPlainWhateverTheEnvironmentSays) {
    for (const QByteArray& display : {QByteArray("/private/tmp/launch/org:0"),
                                      QByteArray(5000, 'x'), QByteArray("\xFF ../\n")}) {
        const QString name = nameWith("DISPLAY", display);
        EXPECT_EQ(name.size(), 16);
        EXPECT_TRUE(std::all_of(name.begin(), name.end(), [](QChar letter) {
            return (letter >= u'0' && letter <= u'9') || (letter >= u'a' && letter <= u'f');
        }));
    }
}

TEST_F(InstancePlaceOfSession, FoldersComeFromTheEnvironment) {
    EXPECT_EQ(InstancePlace::ofThisSession().runtimeFolder, QString());
    qputenv("XDG_RUNTIME_DIR", "/run/somewhere");
    EXPECT_EQ(InstancePlace::ofThisSession().runtimeFolder, u"/run/somewhere"_qs);
    EXPECT_EQ(InstancePlace::ofThisSession().temporaryFolder, QDir::tempPath());
}

} // namespace lumivane::test
