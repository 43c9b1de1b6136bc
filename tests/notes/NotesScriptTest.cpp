#include "notes/NotesScript.h"

#include <gtest/gtest.h>

#include <random>

namespace lumivane {

using NotesScript::literal;

TEST(NotesScript, ALiteralStandsInQuotes) {
    EXPECT_EQ(literal(u"plain"), u"\"plain\""_qs);
    EXPECT_EQ(literal(u""), u"\"\""_qs);
    EXPECT_EQ(literal(u"<p>é 漢 \U0001F600 'x'\t</p>"), u"\"<p>é 漢 \U0001F600 'x'\t</p>\""_qs);
}

TEST(NotesScript, AQuoteIsEscaped) {
    EXPECT_EQ(literal(u"a\"b"), uR"("a\"b")"_qs);
    EXPECT_EQ(literal(u"\" & quit & \""), uR"("\" & quit & \"")"_qs);
}

TEST(NotesScript, ABackslashIsDoubledBeforeAnythingAddsOne) {
    EXPECT_EQ(literal(u"\\"), uR"("\\")"_qs);
    EXPECT_EQ(literal(u"\\\""), uR"("\\\"")"_qs);
    EXPECT_EQ(literal(u"\\n"), uR"("\\n")"_qs);
}

TEST(NotesScript, LineEndingsAreSpelledOut) {
    EXPECT_EQ(literal(u"a\nb"), uR"("a\nb")"_qs);
    EXPECT_EQ(literal(u"a\r\nb\r"), uR"("a\r\nb\r")"_qs);
}

TEST(NotesScript, EscapingEqualsTheFourReplacementsInTheirOrder) {
    std::mt19937 random(3);
    for (int round = 0; round < 2'000; ++round) {
        QString text;
        for (int index = 0; index < 20; ++index) {
            text += u"\\\"\r\nab"_qs.at(static_cast<qsizetype>(random() % 6));
        }
        QString replaced = text;
        replaced.replace(u"\\"_qs, u"\\\\"_qs).replace(u"\""_qs, u"\\\""_qs);
        replaced.replace(u"\r"_qs, u"\\r"_qs).replace(u"\n"_qs, u"\\n"_qs);
        ASSERT_EQ(literal(text), u'"' + replaced + u'"');
    }
}

TEST(NotesScript, TenMebibytesOfQuotesTakeLinearTime) {
    constexpr qsizetype size = 10 * 1024 * 1024;
    EXPECT_EQ(literal(QString(size, u'"')).size(), 2 * size + 2);
}

TEST(NotesScript, MakesTheFolderWhereItIsMissingAndTheNoteInIt) {
    EXPECT_EQ(NotesScript::makeNote(u"Folder"_qs, u"Title"_qs, u"<p>Body</p>"_qs),
              uR"(tell application "Notes"
    set folderTitle to "Folder"
    set noteTitle to "Title"
    set noteBody to "<p>Body</p>"
    set targetAccount to default account
    if not (exists folder folderTitle of targetAccount) then
        make new folder at targetAccount with properties {name:folderTitle}
    end if
    set targetFolder to folder folderTitle of targetAccount
    make new note at targetFolder with properties {name:noteTitle, body:noteBody}
end tell)"_qs);
}

TEST(NotesScript, EveryValueStandsInALiteralOnItsOwnLine) {
    const QString script =
        NotesScript::makeNote(u"F\n\"\\"_qs, u"say \"hi\"\r"_qs, u"<pre>a\nb</pre>"_qs);
    EXPECT_EQ(script.count(u'\n'), 10);
    EXPECT_TRUE(script.contains(u"\n    set folderTitle to \"F\\n\\\"\\\\\"\n"));
    EXPECT_TRUE(script.contains(u"\n    set noteTitle to \"say \\\"hi\\\"\\r\"\n"));
    EXPECT_TRUE(script.contains(u"\n    set noteBody to \"<pre>a\\nb</pre>\"\n"));
}

TEST(NotesScript, OnlyTheUsersRefusalIsADenial) {
    const NotesServiceError denied(NotesServiceError::Case::automationDenied);
    const NotesServiceError failed(NotesServiceError::Case::creationFailed);
    EXPECT_EQ(NotesScript::error(-1743), denied);
    EXPECT_EQ(NotesScript::error(-1728), failed);
    EXPECT_EQ(NotesScript::error(-1744), failed);
    EXPECT_EQ(NotesScript::error(-600), failed);
    EXPECT_EQ(NotesScript::error(0), failed);
    EXPECT_EQ(NotesScript::error(1743), failed);
    EXPECT_EQ(NotesScript::error(std::nullopt), failed);
}

TEST(NotesServiceErrorText, SaysWhatToDo) {
    EXPECT_EQ(NotesServiceError(NotesServiceError::Case::automationDenied).errorDescription(),
              u"Lumivane could not add the solution to Notes. Allow Lumivane to control Notes in "
              u"System Settings → Privacy & Security → Automation."_qs);
    EXPECT_EQ(NotesServiceError(NotesServiceError::Case::creationFailed).errorDescription(),
              u"Lumivane could not add the solution to Notes. Open Notes once, then try again."_qs);
}

} // namespace lumivane
