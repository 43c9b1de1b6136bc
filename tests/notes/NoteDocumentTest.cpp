#include "notes/NoteDocument.h"

#include "SampleNotes.h"
#include "notes/NoteMarkup.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace lumivane {

using test::sampleNote;

namespace {

QString page(const LeetCodeNote& note) { return QString::fromUtf8(noteDocument(note)); }

/// What stands between the first `begin` and the next `end`.
QString between(const QString& text, QStringView begin, QStringView end) {
    const qsizetype from = text.indexOf(begin);
    const qsizetype to = text.indexOf(end, from + begin.size());
    return from < 0 || to < 0 ? QString() : text.mid(from + begin.size(), to - from - begin.size());
}

QString titleOf(const QString& html) { return between(html, u"<title>", u"</title>"); }

QString headerOf(const QString& html) { return between(html, u"<header>", u"</header>"); }

QString bodyOf(const QString& html) {
    return between(html, u"<main dir=\"auto\">\n", u"\n</main>");
}

/// The two forms of a sample note's title, with the question as it stands in the page.
QString titleWith(const QString& question) {
    return u"Lumivane LeetCode — \u2068"_qs + question + u"\u2069 — 2026-11-21 12:41:54"_qs;
}

QString headerWith(const QString& question) {
    return u"Lumivane LeetCode — <bdi>"_qs + question + u"</bdi> — 2026-11-21 12:41:54"_qs;
}

} // namespace

TEST(NoteDocument, ShowsTitleAndRenderedBody) {
    const QString html = page(sampleNote());
    EXPECT_TRUE(html.startsWith(u"<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"));
    EXPECT_EQ(titleOf(html), titleWith(u"Two Sum"_qs));
    EXPECT_EQ(headerOf(html), headerWith(u"Two Sum"_qs));
    EXPECT_EQ(bodyOf(html), u"<h1>Two Sum</h1><p><strong>a</strong> &lt; b</p>"_qs);
    EXPECT_TRUE(html.endsWith(u"</main>\n</body>\n</html>\n"));
}

TEST(NoteDocument, AnEmptyNoteIsAWholePage) {
    const QString html = page(sampleNote(QString(), QString()));
    EXPECT_EQ(bodyOf(html), u"<br>"_qs);
    EXPECT_EQ(titleOf(html), titleWith(QString()));
    EXPECT_EQ(headerOf(html), headerWith(QString()));
}

TEST(NoteDocument, ATitleCannotBreakOut) {
    const QString html = page(sampleNote(u"</title><script>alert('1')</script> \"&\n"_qs));
    const QString shown = u"&lt;/title&gt;&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt; "
                          u"&quot;&amp;"_qs;
    EXPECT_EQ(titleOf(html), titleWith(shown));
    EXPECT_EQ(headerOf(html), headerWith(shown));
    EXPECT_FALSE(html.contains(u"<script"));
}

TEST(NoteDocument, AQuestionFromRightToLeftLeavesTheTimeAsItIs) {
    for (const QString& question : {u"مجموع رقمين"_qs, u"שני מספרים"_qs}) {
        const QString html = page(sampleNote(question));
        EXPECT_EQ(titleOf(html), titleWith(question));
        EXPECT_EQ(headerOf(html), headerWith(question));
    }
}

TEST(NoteDocument, MarksThatTurnTheDirectionAreNotShownInTheTitle) {
    for (char16_t mark = 0x202A; mark <= 0x202E; ++mark) {
        EXPECT_EQ(headerOf(page(sampleNote(QChar(mark) + u"gnp.exe"_qs))),
                  headerWith(u"gnp.exe"_qs));
    }
    for (char16_t mark = 0x2066; mark <= 0x2069; ++mark) {
        EXPECT_EQ(titleOf(page(sampleNote(QChar(mark) + u"a"_qs))), titleWith(u"a"_qs));
    }
    const QString harmless = u"\u200Fa\u200E"_qs;
    EXPECT_EQ(headerOf(page(sampleNote(harmless))), headerWith(harmless));
}

TEST(NoteDocument, TheWholeNoteBeginsOnTheSideOfItsFirstWords) {
    EXPECT_TRUE(page(sampleNote()).contains(u"</header>\n<main dir=\"auto\">\n"));
}

TEST(NoteDocument, NothingIsFetchedAndNothingRuns) {
    const QString html = page(sampleNote(
        u"T"_qs, u"<img src=https://example.com/a.png onerror=x> ![i](http://example.com/b)"_qs));
    const QString head = between(html, u"<html>", u"<main ");
    static const QRegularExpression reaching(u"(src=|href|url\\(|@import|<script|<link|<img|http:|"
                                             u"https:| on[a-z]+=)"_qs);
    EXPECT_FALSE(head.contains(reaching));
    EXPECT_FALSE(html.contains(u"<img"));
    EXPECT_TRUE(head.contains(u"content=\"default-src 'none'; style-src 'unsafe-inline'\""));
}

TEST(NoteDocument, FollowsTheReadersLightAndDark) {
    const QString html = page(sampleNote());
    EXPECT_TRUE(html.contains(u"<meta name=\"color-scheme\" content=\"light dark\">"));
    const QString dark = between(html, u"@media (prefers-color-scheme: dark) {\n", u"\n}");
    for (const QString& name :
         {u"--paper:"_qs, u"--ink:"_qs, u"--quiet:"_qs, u"--line:"_qs, u"--code:"_qs}) {
        EXPECT_EQ(html.count(name), 2) << name.toStdString();
        EXPECT_TRUE(dark.contains(name)) << name.toStdString();
    }
}

TEST(NoteDocument, HoldsNoNulAndIsValidUtf8) {
    const QString nasty = u"a"_qs + QChar(QChar::Null) + QChar(0xD800) + u"b"_qs;
    const QByteArray bytes = noteDocument(sampleNote(nasty, nasty));
    EXPECT_FALSE(bytes.contains('\0'));
    EXPECT_EQ(QString::fromUtf8(bytes).toUtf8(), bytes);
}

TEST(NoteDocument, TenMebibytesOfMarkdownAreKept) {
    const QString line = u"an answer of some length\n"_qs;
    const qsizetype lines = 10 * 1024 * 1024 / line.size();
    const QByteArray bytes = noteDocument(sampleNote(u"T"_qs, line.repeated(lines)));
    EXPECT_EQ(bytes.count("<p>an answer of some length</p>"), lines);
}

} // namespace lumivane
