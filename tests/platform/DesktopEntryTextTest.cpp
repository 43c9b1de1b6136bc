#include "platform/linux/DesktopEntryText.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

constexpr QLatin1StringView nameKey("Name");
constexpr QLatin1StringView execKey("Exec");

/// A group with one key of this value, as it is written.
std::optional<QString> valueOf(const QByteArray& written) {
    const auto entry = DesktopEntryText::parse("[Desktop Entry]\nName=" + written + "\n");
    return entry ? entry->string(nameKey) : std::nullopt;
}

bool isRead(const QByteArray& bytes) { return DesktopEntryText::parse(bytes).has_value(); }

} // namespace

TEST(DesktopEntryText, ReadsTheMainGroupAndGivesEveryByteBack) {
    const QByteArray bytes = "# made by hand\n"
                             "\n"
                             "[Desktop Entry]\n"
                             "Name = Lumi \n"
                             "  Name[de]=Lümi\n"
                             "# between\n"
                             "Exec=lumi\n"
                             "\n"
                             "[Desktop Action One]\n"
                             "Name=other\n"
                             "Exec=other\n";
    const auto entry = DesktopEntryText::parse(bytes);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->keys(), (QStringList{u"Name"_qs, u"Name[de]"_qs, u"Exec"_qs}));
    EXPECT_EQ(entry->string(nameKey), u"Lumi"_qs);
    EXPECT_EQ(entry->string(execKey), u"lumi"_qs);
    EXPECT_EQ(entry->bytes(), bytes);
}

TEST(DesktopEntryText, BeginsAsAGroupWithoutKeys) {
    EXPECT_EQ(DesktopEntryText().bytes(), "[Desktop Entry]\n");
    EXPECT_TRUE(DesktopEntryText().keys().isEmpty());
    EXPECT_FALSE(DesktopEntryText().string(nameKey));
}

TEST(DesktopEntryText, RefusesWhatNoDesktopReads) {
    EXPECT_FALSE(isRead(""));
    EXPECT_FALSE(isRead("\n# nothing\n"));
    EXPECT_FALSE(isRead("Name=first\n[Desktop Entry]\n"));
    EXPECT_FALSE(isRead("[Other]\nName=a\n[Desktop Entry]\nName=b\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=a\n[Desktop Entry]\nExec=b\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nno key and no value\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\n=value\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nNa me=value\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName[de=value\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nNäme=value\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=a\nName=b\n"));
    EXPECT_FALSE(isRead("[Desktop Ent"));
    EXPECT_TRUE(isRead("[Desktop Entry]"));
    EXPECT_TRUE(isRead("[Desktop Entry]\nName=a\nName[de]=b"));
}

TEST(DesktopEntryText, RefusesWhatIsNoText) {
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=\xff\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=\xc0\xaf\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=\xed\xa0\x80\n"));
    EXPECT_FALSE(isRead("[Desktop Entry]\nName=gr\xc3"));
    EXPECT_FALSE(isRead(QByteArray("[Desktop Entry]\nName=a\0b\n", 25)));
    EXPECT_FALSE(isRead("\xef\xbb\xbf[Desktop Entry]\n"));
    EXPECT_TRUE(isRead("[Desktop Entry]\nName=gr\xc3\xbc\n"));
}

TEST(DesktopEntryText, ReadsNoMoreThanTheBound) {
    const QByteArray start = "[Desktop Entry]\n#";
    const QByteArray longest = start + QByteArray(64 * 1024 - start.size(), 'x');
    ASSERT_EQ(longest.size(), 65536);
    EXPECT_TRUE(isRead(longest));
    EXPECT_FALSE(isRead(longest + 'x'));
}

TEST(DesktopEntryText, UndoesTheEscapesOfStrings) {
    EXPECT_EQ(valueOf(R"(\sa\sb\n\t\r\\c)"), u" a b\n\t\r\\c"_qs);
    EXPECT_EQ(valueOf(R"(\\\\)"), u"\\\\"_qs);
    EXPECT_EQ(valueOf(R"(a\x)"), std::nullopt);
    EXPECT_EQ(valueOf(R"(a\)"), std::nullopt);
    EXPECT_EQ(valueOf("a = b"), u"a = b"_qs);
    EXPECT_EQ(valueOf(""), u""_qs);
}

TEST(DesktopEntryText, WhatIsSetIsReadBack) {
    for (const QString& value : {u""_qs, u"plain"_qs, u"  two blanks first"_qs, u"a\nb\tc\rd\\e"_qs,
                                 u"\\s"_qs, u"grün 漢 \U0001F600"_qs, u"# = [x]"_qs, u"100%"_qs}) {
        DesktopEntryText entry;
        entry.setString(nameKey, value);
        const auto again = DesktopEntryText::parse(entry.bytes());
        ASSERT_TRUE(again) << qPrintable(value);
        EXPECT_EQ(again->string(nameKey), value);
        EXPECT_EQ(again->keys(), QStringList{u"Name"_qs});
    }
}

TEST(DesktopEntryText, ANewKeyGoesBehindTheOthersOfItsGroup) {
    auto entry = DesktopEntryText::parse("[Desktop Entry]\nType=Application\n\n[Other]\nName=x\n");
    ASSERT_TRUE(entry);
    entry->setString(nameKey, u"a"_qs);
    EXPECT_EQ(entry->bytes(), "[Desktop Entry]\nType=Application\nName=a\n\n[Other]\nName=x\n");
}

TEST(DesktopEntryText, AnOldKeyIsReplacedInItsPlace) {
    auto entry = DesktopEntryText::parse("[Desktop Entry]\nName=x\nType=y\n[Other]\nName=z\n");
    ASSERT_TRUE(entry);
    entry->setString(nameKey, u"a"_qs);
    EXPECT_EQ(entry->bytes(), "[Desktop Entry]\nName=a\nType=y\n[Other]\nName=z\n");
    entry->remove(u"Name"_qs);
    entry->remove(u"Name"_qs);
    EXPECT_EQ(entry->bytes(), "[Desktop Entry]\nType=y\n[Other]\nName=z\n");
    entry->setString(nameKey, u"b"_qs);
    EXPECT_EQ(entry->bytes(), "[Desktop Entry]\nType=y\nName=b\n[Other]\nName=z\n");
}

TEST(DesktopEntryText, ReadsBooleansAndLists) {
    auto entry = DesktopEntryText::parse("[Desktop Entry]\nA=true\nB=false\nC=1\nD=0\nE=True\n"
                                         "L=KDE;XFCE;\nM=\nN=GNOME\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->boolean(u"A"_qs), true);
    EXPECT_EQ(entry->boolean(u"B"_qs), false);
    EXPECT_EQ(entry->boolean(u"C"_qs), true);
    EXPECT_EQ(entry->boolean(u"D"_qs), false);
    EXPECT_EQ(entry->boolean(u"E"_qs), std::nullopt);
    EXPECT_EQ(entry->boolean(u"Z"_qs), std::nullopt);
    EXPECT_EQ(entry->list(QLatin1StringView("L")), (QStringList{u"KDE"_qs, u"XFCE"_qs}));
    EXPECT_EQ(entry->list(QLatin1StringView("M")), QStringList());
    EXPECT_EQ(entry->list(QLatin1StringView("N")), QStringList{u"GNOME"_qs});
    EXPECT_EQ(entry->list(QLatin1StringView("Z")), std::nullopt);
    entry->setList(QLatin1StringView("N"), {u"A"_qs, u"B"_qs});
    EXPECT_TRUE(entry->bytes().endsWith("\nN=A;B;\n"));
}

TEST(DesktopEntryText, QuotesArgumentsByTheRulesOfExec) {
    EXPECT_EQ(execLine({u"/bin/a"_qs, u"--b=c"_qs}), u"/bin/a --b=c"_qs);
    EXPECT_EQ(execLine({u"/a b"_qs}), u"\"/a b\""_qs);
    EXPECT_EQ(execLine({u"it's"_qs}), u"\"it's\""_qs);
    EXPECT_EQ(execLine({u"\"$`\\"_qs}), uR"("\"\$\`\\")"_qs);
    EXPECT_EQ(execLine({u"100%"_qs}), u"100%%"_qs);
    EXPECT_EQ(execLine({u"a;b"_qs, u""_qs}), u"\"a;b\" \"\""_qs);
    EXPECT_EQ(execLine({u"grün/漢"_qs}), u"grün/漢"_qs);
    for (const QChar reserved : u" \t\n\"'\\><~|&;$*?#()`"_qs) {
        const QString line = execLine({QString(reserved)});
        EXPECT_TRUE(line.startsWith(u'"') && line.endsWith(u'"')) << int(reserved.unicode());
    }
}

TEST(DesktopEntryText, UndoesWhatItQuotes) {
    const QStringList arguments{u"/opt/it's \"here\"/$HOME/`x`/\\n/100%"_qs,
                                u""_qs,
                                u"grün 漢 \U0001F600"_qs,
                                u"a\nb\tc"_qs,
                                u"--plain"_qs,
                                u"%u"_qs};
    EXPECT_EQ(execArguments(execLine(arguments)), arguments);
}

TEST(DesktopEntryText, ReadsExecLinesOfOtherHands) {
    EXPECT_EQ(execArguments(u"  a   \"b\"  c "_qs), (QStringList{u"a"_qs, u"b"_qs, u"c"_qs}));
    EXPECT_EQ(execArguments(u""_qs), QStringList());
    EXPECT_EQ(execArguments(u"a%%b"_qs), QStringList{u"a%b"_qs});
    EXPECT_EQ(execArguments(u"a%%%%b"_qs), QStringList{u"a%%b"_qs});
}

TEST(DesktopEntryText, RefusesExecLinesThatAreNotWellFormed) {
    for (const QString& line : {u"\"open"_qs, u"\"a\"b"_qs, u"a\"b\""_qs, u"'a b'"_qs, u"a;b"_qs,
                                u"$HOME/a"_qs, u"\"$HOME/a\""_qs, u"\"a\\b\""_qs, u"\"a\\"_qs,
                                u"a %u"_qs, u"a %"_qs, u"a%%%b"_qs, u"a\tb"_qs, u"`a`"_qs}) {
        EXPECT_EQ(execArguments(line), std::nullopt) << qPrintable(line);
    }
}

} // namespace lumivane
