#include "analysis/CommandLine.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

using Entry = CommandLine::Entry;

Entry entryOf(const QStringList& arguments) { return CommandLine::of(arguments).entry(); }

QStringList urlsOf(const QStringList& arguments) { return CommandLine::of(arguments).urls; }

const QString program = u"/somewhere/bin/lumivane"_qs;
const QString callback = u"com.marnoth.lumivane.oauth://callback?code=a%20b&state=c"_qs;

} // namespace

TEST(CommandLine, WithoutSwitchesTheProgramRuns) {
    EXPECT_EQ(CommandLine::of({program}), CommandLine());
    EXPECT_EQ(CommandLine::of({}), CommandLine());
    EXPECT_EQ(entryOf({program}), Entry::run);
}

TEST(CommandLine, EachSwitchSetsItsOwnField) {
    EXPECT_EQ(CommandLine::of({program, u"--help"_qs}), CommandLine{.help = true});
    EXPECT_EQ(CommandLine::of({program, u"--version"_qs}), CommandLine{.version = true});
    EXPECT_EQ(CommandLine::of({program, u"--unregister-login-item"_qs}),
              CommandLine{.unregisterLoginItem = true});
    EXPECT_EQ(CommandLine::of({program, u"--reset-settings"_qs}),
              CommandLine{.resetSettings = true});
    EXPECT_EQ(CommandLine::of({program, u"--login-item"_qs}),
              CommandLine{.launchedAsLoginItem = true});
}

TEST(CommandLine, SwitchesCountOnlyAsExactMatches) {
    for (const char* argument : {"--Help",
                                 "--help ",
                                 " --help",
                                 "--help=1",
                                 "-help",
                                 "help",
                                 "--helping",
                                 "-h",
                                 "-v",
                                 "--version=",
                                 "--Version",
                                 "--reset-settings=yes",
                                 "--reset-setting",
                                 "--RESET-SETTINGS",
                                 "-reset-settings",
                                 "--unregister-login-items",
                                 "--login-items",
                                 "--login",
                                 "--",
                                 ""}) {
        EXPECT_EQ(CommandLine::of({program, QString::fromUtf8(argument)}), CommandLine())
            << argument;
    }
}

TEST(CommandLine, UnknownSwitchesAreIgnoredWhereverTheyStand) {
    const CommandLine expected{.resetSettings = true};
    EXPECT_EQ(CommandLine::of({program, u"--colour"_qs, u"blue"_qs, u"--reset-settings"_qs}),
              expected);
    EXPECT_EQ(CommandLine::of({program, u"--reset-settings"_qs, u"--colour"_qs}), expected);
    EXPECT_EQ(CommandLine::of({program, u"--"_qs, u"--reset-settings"_qs}), expected);
    EXPECT_EQ(entryOf({program, u"--ui-testing"_qs, u"--colour"_qs}), Entry::run);
}

TEST(CommandLine, HelpGoesBeforeVersionAndBothBeforeEveryChange) {
    const QString help = u"--help"_qs;
    const QString version = u"--version"_qs;
    const QString reset = u"--reset-settings"_qs;
    const QString unregister = u"--unregister-login-item"_qs;
    EXPECT_EQ(entryOf({program, unregister, reset, version, help}), Entry::printHelp);
    EXPECT_EQ(entryOf({program, version, help}), Entry::printHelp);
    EXPECT_EQ(entryOf({program, unregister, reset, version}), Entry::printVersion);
    EXPECT_EQ(entryOf({program, unregister}), Entry::maintenance);
    EXPECT_EQ(entryOf({program, reset, callback}), Entry::maintenance);
    EXPECT_EQ(entryOf({program, u"--login-item"_qs}), Entry::run);
}

TEST(CommandLine, AddressesOfTheOwnSchemeAreHandedOnByteForByte) {
    EXPECT_EQ(urlsOf({program, callback}), QStringList({callback}));
    EXPECT_EQ(urlsOf({program, u"--login-item"_qs, callback, u"--colour"_qs}),
              QStringList({callback}));
    const QString odd = u"COM.Marnoth.Lumivane.OAuth:%zz ä\n"_qs;
    EXPECT_EQ(urlsOf({program, odd, callback}), QStringList({odd, callback}));
    EXPECT_EQ(entryOf({program, callback}), Entry::run);
}

TEST(CommandLine, OtherAddressesAreNot) {
    for (const char* argument :
         {"https://example.com/com.marnoth.lumivane.oauth:", "com.marnoth.lumivane.oauth",
          "com.marnoth.lumivane.oauths://callback", "com.marnoth.lumivane://callback",
          " com.marnoth.lumivane.oauth://callback",
          "file:///com.marnoth.lumivane.oauth:", "--url=com.marnoth.lumivane.oauth://callback"}) {
        EXPECT_TRUE(urlsOf({program, QString::fromUtf8(argument)}).isEmpty()) << argument;
    }
}

TEST(CommandLine, AnAddressOfTooManyCharactersIsDroppedAndTheOthersStay) {
    const QString scheme = u"com.marnoth.lumivane.oauth:"_qs;
    const QString longest = scheme + QString(8192 - scheme.size(), u'a');
    ASSERT_EQ(longest.size(), 8192);
    EXPECT_EQ(urlsOf({program, longest}), QStringList({longest}));
    EXPECT_EQ(urlsOf({program, longest + u"a"_qs, callback}), QStringList({callback}));
}

TEST(CommandLine, OnlySoManyAddressesAreTaken) {
    QStringList arguments{program};
    for (int number = 0; number < 17; ++number) {
        arguments.append(callback + QString::number(number));
    }
    EXPECT_EQ(urlsOf(arguments), arguments.mid(1, 16));
}

TEST(CommandLine, HelpNamesEverySwitchOfAUserAndFitsATerminal) {
    const QString help = CommandLine::helpText();
    for (const char* word : {"--help", "--version", "--login-item", "--unregister-login-item",
                             "--reset-settings", "com.marnoth.lumivane.oauth:"}) {
        EXPECT_TRUE(help.contains(QString::fromUtf8(word))) << word;
    }
    EXPECT_TRUE(help.startsWith(u"Usage: lumivane "_qs));
    EXPECT_TRUE(help.endsWith(u".\n"_qs));
    const QStringList lines = help.split(u'\n');
    for (const QString& line : lines) {
        EXPECT_LE(line.size(), 100) << line.toStdString();
    }
}

TEST(CommandLine, VersionComesFromTheInformation) {
    EXPECT_EQ(CommandLine::versionText(
                  {.CFBundleShortVersionString = u"0.3.0"_qs, .LumivaneAPIBaseURL = std::nullopt}),
              u"Lumivane 0.3.0\n"_qs);
    EXPECT_EQ(CommandLine::versionText({}), u"Lumivane (version unknown)\n"_qs);
}

TEST(CommandLine, AVersionWithAMarkerInItIsPrintedAsItStands) {
    EXPECT_EQ(CommandLine::versionText(
                  {.CFBundleShortVersionString = u"%1 %2"_qs, .LumivaneAPIBaseURL = std::nullopt}),
              u"Lumivane %1 %2\n"_qs);
}

} // namespace lumivane
