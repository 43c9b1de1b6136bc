#include "telemetry/LogFormat.h"

#include "domain/LumivaneError.h"
#include "domain/Vocabulary.h"
#include "records/AnalysisInputMode.h"
#include "support/LogCapture.h"
#include "telemetry/LumivaneLog.h"

#include <QByteArray>
#include <QPoint>
#include <QUrl>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace lumivane {

using logging::Loggable;
using logging::markerFor;

// What carries a user's words, or might, cannot be logged.
static_assert(!Loggable<QString>);
static_assert(!Loggable<QStringView>);
static_assert(!Loggable<QLatin1String>);
static_assert(!Loggable<QByteArray>);
static_assert(!Loggable<QUrl>);
static_assert(!Loggable<QChar>);
static_assert(!Loggable<std::string>);
static_assert(!Loggable<std::string_view>);
static_assert(!Loggable<const char*>);
static_assert(!Loggable<char*>);
static_assert(!Loggable<char[6]>);
static_assert(!Loggable<char>);
static_assert(!Loggable<std::vector<int>>);
static_assert(!Loggable<std::runtime_error>);
static_assert(!Loggable<LumivaneError>);
static_assert(!Loggable<void*>);
static_assert(!Loggable<std::nullptr_t>);
// A closed set has a table; any other enumeration says nothing in a log.
enum class Unlisted { one };
static_assert(!Loggable<Unlisted>);
// One integer type per marker, so that none is cut.
static_assert(!Loggable<long long>);
static_assert(!Loggable<unsigned long>);
static_assert(!Loggable<short>);
static_assert(!Loggable<float>);

namespace {

LogIdentifier identifier(const QString& text) { return LogIdentifier(text); }

template <typename... Arguments>
std::string formatted(LogFormat<std::type_identity_t<Arguments>...> format,
                      const Arguments&... arguments) {
    return format.format(arguments...);
}

constexpr auto smallest = std::numeric_limits<std::int64_t>::min();

} // namespace

TEST(LogFormat, EachTypeHasItsMarker) {
    EXPECT_EQ(markerFor<bool>(), "%{bool,public}d");
    EXPECT_EQ(markerFor<std::int32_t>(), "%{public}d");
    EXPECT_EQ(markerFor<std::uint32_t>(), "%{public}u");
    EXPECT_EQ(markerFor<std::int64_t>(), "%{public}ld");
    EXPECT_EQ(markerFor<double>(), "%{public}f");
    EXPECT_EQ(markerFor<Preset>(), "%{public}s");
    EXPECT_EQ(markerFor<AnalysisInputMode>(), "%{public}s");
    EXPECT_EQ(markerFor<HotKey>(), "%{public}s");
    EXPECT_EQ(markerFor<LogName>(), "%{public}s");
    EXPECT_EQ(markerFor<LogIdentifier>(), "%{public}s");
    EXPECT_EQ(markerFor<LogTypeName>(), "%{public}s");
}

TEST(LogFormat, NumbersAndFlags) {
    EXPECT_EQ(formatted("%{bool,public}d %{bool,public}d", true, false), "1 0");
    EXPECT_EQ(formatted("status=%{public}d", std::int32_t{-7}), "status=-7");
    EXPECT_EQ(formatted("display=%{public}u", std::uint32_t{4294967295U}), "display=4294967295");
    EXPECT_EQ(formatted("ms=%{public}ld", smallest), "ms=-9223372036854775808");
    EXPECT_EQ(formatted("s=%{public}f", 0.4), "s=0.400000");
    EXPECT_EQ(formatted("s=%{public}f", -20.0), "s=-20.000000");
    EXPECT_EQ(formatted("s=%{public}f", 1234567.8901234), "s=1234567.890123");
}

TEST(LogFormat, NumbersAtTheEndsOfTheirRange) {
    EXPECT_EQ(formatted("%{public}f", std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(formatted("%{public}f", std::numeric_limits<double>::quiet_NaN()), "nan");
    const std::string longest = formatted("%{public}f", std::numeric_limits<double>::lowest());
    EXPECT_EQ(longest.size(), 1U + 309U + 1U + 6U);
    EXPECT_TRUE(longest.ends_with(".000000"));
}

TEST(LogFormat, ClosedSetsShowTheirRawText) {
    EXPECT_EQ(formatted("preset=%{public}s", Preset::leetCode), "preset=leetcode");
    EXPECT_EQ(formatted("mode=%{public}s", AnalysisInputMode::textAndImage), "mode=textAndImage");
    EXPECT_EQ(formatted("corner=%{public}s", ScreenCorner::bottomLeft), "corner=bottomLeft");
}

TEST(LogFormat, LiteralsShowThemselves) {
    EXPECT_EQ(formatted("%{public}s", LogName("AnalysisClient")), "AnalysisClient");
}

TEST(LogFormat, TextAroundTheMarkersStays) {
    EXPECT_EQ(formatted("Saved settings"), "Saved settings");
    EXPECT_EQ(formatted(""), "");
    EXPECT_EQ(formatted("a %{public}d%{public}u b", std::int32_t{1}, std::uint32_t{2}), "a 12 b");
}

TEST(LogFormat, AShortcutShowsItsTextForm) {
    EXPECT_EQ(formatted("shortcut=%{public}s", HotKey::defaultValue()), "shortcut=cmd+alt+ctrl+S");
    EXPECT_EQ(formatted("%{public}s", HotKey{.shift = true, .key = u"\u0436"_qs}),
              "shift+\xD0\x96");
}

TEST(LogFormat, AShortcutWithWordsForAKeyShowsNoneOfThem) {
    for (const auto& words : {u"canary words"_qs, u""_qs, u"\n"_qs, u"-"_qs}) {
        EXPECT_EQ(formatted("%{public}s", HotKey{.command = true, .key = words}), "cmd+-");
    }
}

TEST(LogIdentifier, ShowsOnlyWhatLooksLikeOne) {
    const QString longest(64, u'x');
    for (const auto& text : {u"req_01.A-z"_qs, u"0"_qs, longest}) {
        EXPECT_EQ(identifier(text).text(), text.toStdString());
    }
    for (const auto& text : {u""_qs, longest + u'x', u"two words"_qs, u"a\nb"_qs, u"caf\u00E9"_qs,
                             u"a/b"_qs, u"a%b"_qs, u"\uFF11"_qs}) {
        EXPECT_EQ(identifier(text).text(), "-");
    }
    EXPECT_EQ(formatted("requestID=%{public}s", identifier(u"req-1"_qs)), "requestID=req-1");
}

TEST(LogTypeName, ShowsTheTypeAndNeverTheText) {
    const LumivaneError error = LumivaneError::server(u"canary"_qs);
    EXPECT_EQ(formatted("errorType=%{public}s", LogTypeName(error)), "errorType=LumivaneError");
}

TEST(Logger, EachLevelArrivesInItsCategory) {
    const test::LogCapture log;
    LumivaneLog::lifecycle.debug("one %{public}d", std::int32_t{1});
    LumivaneLog::settings.info("two");
    LumivaneLog::trigger.log("three %{public}s", Preset::mcq);
    LumivaneLog::capture.error("four %{bool,public}d", true);
    const auto lines = log.lines();
    using Line = test::LogCapture::Line;
    EXPECT_EQ(lines, (std::vector<Line>{{"lifecycle", LogLevel::debug, "one 1"},
                                        {"settings", LogLevel::info, "two"},
                                        {"trigger", LogLevel::standard, "three mcq"},
                                        {"capture", LogLevel::error, "four 1"}}));
}

TEST(Logger, CategoriesStandOnOneSubsystem) {
    EXPECT_EQ(LumivaneLog::subsystem, "com.marnoth.Lumivane");
    const test::LogCapture log;
    LumivaneLog::lifecycle.log("x");
    LumivaneLog::settings.log("x");
    LumivaneLog::trigger.log("x");
    LumivaneLog::capture.log("x");
    LumivaneLog::network.log("x");
    LumivaneLog::overlay.log("x");
    LumivaneLog::timing.log("x");
    std::vector<std::string> categories;
    for (const auto& line : log.lines()) {
        categories.push_back(line.category);
    }
    EXPECT_EQ(categories, (std::vector<std::string>{"lifecycle", "settings", "trigger", "capture",
                                                    "network", "overlay", "timing"}));
}

TEST(Logger, WithoutASinkLinesAreDropped) {
    const auto before = LumivaneLog::setSink(nullptr);
    LumivaneLog::lifecycle.error("nobody hears this");
    EXPECT_EQ(LumivaneLog::setSink(before), nullptr);
}

} // namespace lumivane
