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

} // namespace

TEST(NoteDocument, ShowsTitleAndRenderedBody) {
    const QString html = page(sampleNote());
    const QString title = u"Lumivane LeetCode — Two Sum — 2026-11-21 12:41:54"_qs;
    EXPECT_TRUE(html.startsWith(u"<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"));
    EXPECT_EQ(between(html, u"<title>", u"</title>"), title);
    EXPECT_EQ(between(html, u"<header>", u"</header>"), title);
    EXPECT_EQ(between(html, u"<main>\n", u"\n</main>"),
              u"<h1>Two Sum</h1><p><strong>a</strong> &lt; b</p>"_qs);
    EXPECT_TRUE(html.endsWith(u"</main>\n</body>\n</html>\n"));
}

TEST(NoteDocument, AnEmptyNoteIsAWholePage) {
    const QString html = page(sampleNote(QString(), QString()));
    EXPECT_EQ(between(html, u"<main>\n", u"\n</main>"), u"<br>"_qs);
    EXPECT_EQ(between(html, u"<title>", u"</title>"),
              u"Lumivane LeetCode — — 2026-11-21 12:41:54"_qs);
}

TEST(NoteDocument, ATitleCannotBreakOut) {
    const QString html = page(sampleNote(u"</title><script>alert('1')</script> \"&\n"_qs));
    EXPECT_EQ(between(html, u"<title>", u"</title>"),
              u"Lumivane LeetCode — &lt;/title&gt;&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt; "
              u"&quot;&amp; — 2026-11-21 12:41:54"_qs);
    EXPECT_FALSE(html.contains(u"<script"));
}

TEST(NoteDocument, NothingIsFetchedAndNothingRuns) {
    const QString html = page(sampleNote(
        u"T"_qs, u"<img src=https://example.com/a.png onerror=x> ![i](http://example.com/b)"_qs));
    const QString head = between(html, u"<html>", u"<main>");
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
