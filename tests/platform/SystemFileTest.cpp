#include "platform/linux/SystemFile.h"

#include "MachineFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace lumivane {

class SystemFileTest : public testing::Test {
protected:
    QString file(const QByteArray& content) {
        machine.write(u"f"_qs, content);
        return machine.path() + u"/f"_qs;
    }

    QString valueOf(const QByteArray& text) {
        return readAssignments(file("A=" + text + "\n")).value(u"A"_qs, u"absent"_qs);
    }

    test::MachineFolder machine;
};

TEST_F(SystemFileTest, AFileIsReadWhole) {
    EXPECT_EQ(readSystemFile(file(QByteArray("a\0b\n", 4))), QByteArray("a\0b\n", 4));
    const QByteArray atTheLimit(16 * 1024, 'x');
    EXPECT_EQ(readSystemFile(file(atTheLimit)), atTheLimit);
    EXPECT_EQ(readSystemFile(file(QByteArray())), QByteArray());
}

TEST_F(SystemFileTest, WhatIsTooLargeIsNotRead) {
    EXPECT_EQ(readSystemFile(file(QByteArray(16 * 1024 + 1, 'x'))), std::nullopt);
}

TEST_F(SystemFileTest, OnlyRegularFilesAreRead) {
    EXPECT_EQ(readSystemFile(machine.path() + u"/missing"_qs), std::nullopt);
    EXPECT_EQ(readSystemFile(machine.path()), std::nullopt);
    EXPECT_EQ(readSystemFile(u"/dev/zero"_qs), std::nullopt);
    const QString pipe = machine.path() + u"/pipe"_qs;
    ASSERT_EQ(::mkfifo(pipe.toUtf8().constData(), S_IRUSR | S_IWUSR), 0);
    EXPECT_EQ(readSystemFile(pipe), std::nullopt);
}

TEST_F(SystemFileTest, ALineIsWithoutItsEnd) {
    EXPECT_EQ(readSystemLine(file("Model X\n")), u"Model X"_qs);
    EXPECT_EQ(readSystemLine(file(QByteArray("Board\0", 6))), u"Board"_qs);
    EXPECT_EQ(readSystemLine(file("ä")), u"ä"_qs);
    EXPECT_EQ(readSystemLine(file("")), u""_qs);
    EXPECT_EQ(readSystemLine(file("\xFF\n")), std::nullopt);
    EXPECT_EQ(readSystemLine(machine.path() + u"/missing"_qs), std::nullopt);
}

TEST_F(SystemFileTest, ValuesAreReadAsAShellWould) {
    EXPECT_EQ(valueOf("plain"), u"plain");
    EXPECT_EQ(valueOf("\"Debian GNU/Linux\""), u"Debian GNU/Linux");
    EXPECT_EQ(valueOf("'it is $HOME'"), u"it is $HOME");
    EXPECT_EQ(valueOf(R"("a \"b\" \$c \\ \`d\`")"), uR"(a "b" $c \ `d`)");
    EXPECT_EQ(valueOf(R"('a\b')"), uR"(a\b)");
    EXPECT_EQ(valueOf("\"it's\""), u"it's");
    EXPECT_EQ(valueOf("a\\ b"), u"a b");
    EXPECT_EQ(valueOf(""), u"");
    EXPECT_EQ(valueOf("\"\""), u"");
    EXPECT_EQ(valueOf("\"J\xC3\xB6rg\""), u"Jörg");
    EXPECT_EQ(valueOf("a=b"), u"a=b");
}

TEST_F(SystemFileTest, WhatWouldTakeAShellIsSkipped) {
    for (const auto* text : {"\"open", "open\"", "'open", "\"", "'", "a b", "$(id)", "`id`", "a;b",
                             "\"a\"b\"", "'a'b'", "\"a\\", "\\", "\"a\\\"", "\xFF", "a # b"}) {
        EXPECT_EQ(valueOf(text), u"absent") << text;
    }
}

TEST_F(SystemFileTest, LinesThatAreNoAssignmentsAreSkipped) {
    const auto found = readAssignments(file("# A=comment\n"
                                            "\n"
                                            "  B=2  \n"
                                            "=x\n"
                                            "c=lower\n"
                                            "D E=3\n"
                                            "export F=4\n"
                                            "G_1=first\n"
                                            "G_1=last\n"
                                            "no assignment\n"
                                            "H=without an end of line"));
    EXPECT_EQ(found, (QHash<QString, QString>{{u"B"_qs, u"2"_qs}, {u"G_1"_qs, u"last"_qs}}));
}

TEST_F(SystemFileTest, AMissingFileHasNoAssignments) {
    EXPECT_TRUE(readAssignments(machine.path() + u"/missing"_qs).isEmpty());
}

} // namespace lumivane
