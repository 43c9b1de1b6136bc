#include "analysis/TestingMode.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

QProcessEnvironment withMarker(const QString& name, const QString& value = u"1"_qs) {
    QProcessEnvironment environment;
    environment.insert(name, value);
    return environment;
}

const QString testMarker = u"XCTestConfigurationFilePath"_qs;
const QString bundleMarker = u"XCTestBundlePath"_qs;

} // namespace

TEST(TestingMode, AnOrdinaryStartIsNoTest) {
    const auto mode = TestingMode::of({u"/usr/bin/lumivane"_qs}, withMarker(u"HOME"_qs));
    EXPECT_EQ(mode, TestingMode());
    EXPECT_FALSE(mode.isTesting());
    EXPECT_FALSE(TestingMode::of({}, QProcessEnvironment()).isTesting());
}

TEST(TestingMode, EveryArgumentTurnsOnItsOwnFlagAlone) {
    struct Row {
        QString argument;
        bool TestingMode::*flag;
    };

    const std::vector<Row> rows{
        {u"--ui-testing"_qs, &TestingMode::isUITesting},
        {u"--ui-testing-signed-in"_qs, &TestingMode::signedIn},
        {u"--ui-testing-devices-unavailable"_qs, &TestingMode::devicesUnavailable},
        {u"--ui-testing-takeover"_qs, &TestingMode::takeover},
        {u"--ui-testing-light"_qs, &TestingMode::light},
        {u"--ui-testing-onboarding-ready"_qs, &TestingMode::onboardingReady},
        {u"--ui-testing-onboarding-denied"_qs, &TestingMode::onboardingDenied},
        {u"--ui-testing-configured"_qs, &TestingMode::configured},
        {u"--ui-testing-needs-permission"_qs, &TestingMode::needsPermission},
        {u"--ui-testing-needs-service"_qs, &TestingMode::needsService},
        {u"--ui-testing-invalid-prompt"_qs, &TestingMode::invalidPrompt},
        {u"--ui-testing-auth-required"_qs, &TestingMode::authRequired},
    };
    QStringList all;
    TestingMode everything;
    for (const Row& row : rows) {
        TestingMode expected;
        expected.*row.flag = true;
        EXPECT_EQ(TestingMode::of({u"lumivane"_qs, row.argument}, QProcessEnvironment()), expected)
            << row.argument.toStdString();
        all.append(row.argument);
        everything.*row.flag = true;
    }
    EXPECT_EQ(TestingMode::of(all, QProcessEnvironment()), everything);
}

TEST(TestingMode, OnlyExactArgumentsCount) {
    const QStringList near{u"--UI-testing"_qs,
                           u"-ui-testing"_qs,
                           u"--ui-testing=1"_qs,
                           u" --ui-testing"_qs,
                           u"--ui-testing "_qs,
                           u"--ui-testin"_qs,
                           u"--ui-testing-light=yes"_qs,
                           u"--ui-testing-LIGHT"_qs,
                           u"--ui-testing-lights"_qs,
                           u"ui-testing"_qs,
                           u"--ui-testing --ui-testing-light"_qs};
    EXPECT_EQ(TestingMode::of(near, QProcessEnvironment()), TestingMode());
}

TEST(TestingMode, EitherMarkerOfTheEnvironmentIsAUnitTest) {
    TestingMode expected;
    expected.isUnitTesting = true;
    EXPECT_EQ(TestingMode::of({}, withMarker(testMarker)), expected);
    EXPECT_EQ(TestingMode::of({}, withMarker(bundleMarker)), expected);
    EXPECT_EQ(TestingMode::of({}, withMarker(testMarker, QString())), expected)
        << "its value says nothing";
    EXPECT_TRUE(expected.isTesting());
    EXPECT_EQ(TestingMode::of({}, withMarker(u"XCTest"_qs)), TestingMode());
    EXPECT_EQ(TestingMode::of({}, withMarker(u"xctestbundlepath"_qs)), TestingMode());
}

TEST(TestingMode, TheArgumentOutweighsTheEnvironment) {
    const auto mode = TestingMode::of({u"--ui-testing"_qs}, withMarker(bundleMarker));
    EXPECT_TRUE(mode.isUITesting);
    EXPECT_FALSE(mode.isUnitTesting);
    EXPECT_TRUE(mode.isTesting());
}

TEST(TestingMode, AnArgumentOfTheFamilyAloneIsNoUITest) {
    const auto mode = TestingMode::of({u"--ui-testing-configured"_qs}, withMarker(testMarker));
    EXPECT_TRUE(mode.configured);
    EXPECT_FALSE(mode.isUITesting);
    EXPECT_TRUE(mode.isUnitTesting);
}

} // namespace lumivane
