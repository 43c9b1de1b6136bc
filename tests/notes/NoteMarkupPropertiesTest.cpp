#include "notes/NoteMarkup.h"

#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

namespace lumivane {

namespace {

const QStringList& knownTags() {
    static const QStringList tags{u"p"_qs,  u"h1"_qs, u"h2"_qs,  u"h3"_qs,   u"ul"_qs,
                                  u"ol"_qs, u"li"_qs, u"pre"_qs, u"code"_qs, u"strong"_qs};
    return tags;
}

/// Takes the tag at the front of `rest` off; false when what stands there is none of ours or
/// closes what is not open.
bool takeTag(QStringView& rest, QStringList& open) {
    const qsizetype end = rest.indexOf(u'>');
    QString name = rest.mid(1, end - 1).toString();
    rest = rest.mid(end + 1);
    if (end < 0 || name == u"br") {
        return end >= 0;
    }
    if (name.startsWith(u'/')) {
        name.remove(0, 1);
        return !open.isEmpty() && open.takeLast() == name;
    }
    open.push_back(name);
    return knownTags().contains(name);
}

bool takeEntity(QStringView& rest) {
    for (const QStringView entity : {u"&amp;", u"&lt;", u"&gt;", u"&quot;", u"&#39;"}) {
        if (rest.startsWith(entity)) {
            rest = rest.mid(entity.size());
            return true;
        }
    }
    return false;
}

/// Whether the tags are ours and balanced, and everything else is escaped.
bool isWellFormed(const QString& html) {
    QStringList open;
    QStringView rest = html;
    while (!rest.isEmpty()) {
        const QChar unit = rest.front();
        if (unit == u'<') {
            if (!takeTag(rest, open)) {
                return false;
            }
        } else if (unit == u'&') {
            if (!takeEntity(rest)) {
                return false;
            }
        } else if (unit == u'>' || unit == u'"' || unit == u'\'') {
            return false;
        } else {
            rest = rest.mid(1);
        }
    }
    return open.isEmpty();
}

/// Lists hold items and nothing else, and never stand in one another.
bool hasSoundLists(const QString& html) {
    static const QRegularExpression list(u"<[uo]l>(<li>((?!</?li>|</?[uo]l>).)*</li>)+</[uo]l>"_qs,
                                         QRegularExpression::DotMatchesEverythingOption);
    // The expression refuses a text with half a pair of surrogates in it.
    QString rest = QString::fromUtf8(html.toUtf8());
    rest.remove(list);
    return !rest.contains(u"<ul>") && !rest.contains(u"</ul>") && !rest.contains(u"<ol>") &&
           !rest.contains(u"</ol>") && !rest.contains(u"<li>");
}

/// Text of pieces that mean something to the renderer.
QString piecewise(std::mt19937& random) {
    static const std::array<QString, 30> pieces{u"```"_qs,      u"``"_qs,  u"`"_qs,
                                                u"- "_qs,       u"* "_qs,  u"**"_qs,
                                                u"*"_qs,        u"1. "_qs, u"42"_qs,
                                                u". "_qs,       u"# "_qs,  u"## "_qs,
                                                u"### "_qs,     u"#"_qs,   u"\n"_qs,
                                                u"\r\n"_qs,     u"\r"_qs,  u"\n\n"_qs,
                                                u" "_qs,        u"a"_qs,   u"<b>"_qs,
                                                u"</p>"_qs,     u"&"_qs,   u"&lt;"_qs,
                                                u"\""_qs,       u"'"_qs,   u"</code></pre>"_qs,
                                                u"<script>"_qs, u"漢"_qs,  QString(QChar(0xDC00))};
    QString text;
    const std::size_t count = random() % 40;
    for (std::size_t index = 0; index < count; ++index) {
        text += pieces[random() % pieces.size()];
    }
    return text;
}

/// Any code units at all, NUL and halves of pairs among them.
QString noise(std::mt19937& random) {
    QString text;
    const std::size_t count = random() % 60;
    for (std::size_t index = 0; index < count; ++index) {
        const bool isPlain = random() % 2 == 0;
        text += QChar(static_cast<char16_t>(isPlain ? random() % 0x80 : random() % 0x10000));
    }
    return text;
}

QString times(const QString& piece, qsizetype bytes) {
    return piece.repeated(bytes / piece.size());
}

constexpr qsizetype tenMebibytes = 10 * 1024 * 1024;

} // namespace

TEST(NoteMarkupProperties, TheCheckerItselfRefusesWhatIsUnsound) {
    EXPECT_TRUE(isWellFormed(u"<p>a &lt; b</p><br>"_qs));
    EXPECT_FALSE(isWellFormed(u"<p>a"_qs));
    EXPECT_FALSE(isWellFormed(u"<p>a</h1>"_qs));
    EXPECT_FALSE(isWellFormed(u"<p><script></script></p>"_qs));
    EXPECT_FALSE(isWellFormed(u"<p>a & b</p>"_qs));
    EXPECT_FALSE(isWellFormed(u"<p>a' b</p>"_qs));
    EXPECT_FALSE(hasSoundLists(u"<ul><li>a</li><ul><li>b</li></ul></ul>"_qs));
    EXPECT_FALSE(hasSoundLists(u"<ul></ul>"_qs));
}

TEST(NoteMarkupProperties, AnyTextGivesBalancedTagsAndNothingUnescaped) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 20'000; ++round) {
        const QString text = round % 2 == 0 ? piecewise(random) : noise(random);
        const QString html = NoteMarkup::renderMarkdown(text);
        ASSERT_TRUE(isWellFormed(html)) << text.toStdString() << "\n" << html.toStdString();
        ASSERT_TRUE(hasSoundLists(html)) << text.toStdString() << "\n" << html.toStdString();
        ASSERT_TRUE(isWellFormed(NoteMarkup::renderInline(text))) << text.toStdString();
        ASSERT_TRUE(isWellFormed(NoteMarkup::escapeHTML(text))) << text.toStdString();
    }
}

TEST(NoteMarkupProperties, EscapingEqualsTheFiveReplacementsInTheirOrder) {
    std::mt19937 random(7);
    for (int round = 0; round < 2'000; ++round) {
        const QString text = round % 2 == 0 ? piecewise(random) : noise(random);
        QString replaced = text;
        replaced.replace(u'&', u"&amp;"_qs).replace(u'<', u"&lt;"_qs).replace(u'>', u"&gt;"_qs);
        replaced.replace(u'"', u"&quot;"_qs).replace(u'\'', u"&#39;"_qs);
        ASSERT_EQ(NoteMarkup::escapeHTML(text), replaced);
    }
}

TEST(NoteMarkupProperties, LineEndingsOfEveryKindRenderAlike) {
    std::mt19937 random(11);
    for (int round = 0; round < 2'000; ++round) {
        const QString text = piecewise(random);
        QString normalised = text;
        normalised.replace(u"\r\n"_qs, u"\n"_qs).replace(u'\r', u'\n');
        ASSERT_EQ(NoteMarkup::renderMarkdown(text), NoteMarkup::renderMarkdown(normalised));
    }
}

TEST(NoteMarkupProperties, NoTextIsLost) {
    // Every letter comes out again, whatever stands around it.
    std::mt19937 random(13);
    for (int round = 0; round < 2'000; ++round) {
        const QString text = piecewise(random);
        QString fences; // what follows a fence on its line is meant to go
        for (const QString& line :
             QString(text).replace(u"\r\n"_qs, u"\n"_qs).replace(u'\r', u'\n').split(u'\n')) {
            fences += line.startsWith(u"```") ? QString() : line;
        }
        ASSERT_EQ(NoteMarkup::renderMarkdown(text).count(u'漢'), fences.count(u'漢'));
    }
}

/// What costs most per code unit: a step that looks at all of the text so far would take hours.
TEST(NoteMarkupProperties, TenMebibytesOfAnythingTakeLinearTime) {
    for (const QString& piece :
         {u"'"_qs, u"&<\n"_qs, u"**"_qs, u"** a"_qs, u"- \n1. \n"_qs, u"\n"_qs, u"\r"_qs,
          u"```\n"_qs, u"1"_qs, u"# **x**\r\n"_qs, u"漢"_qs, QString(QChar(0xD800))}) {
        const QString html = NoteMarkup::renderMarkdown(times(piece, tenMebibytes));
        ASSERT_GE(html.size(), tenMebibytes / 2) << piece.toStdString();
    }
}

TEST(NoteMarkupProperties, TenMebibytesInOneFenceAreKept) {
    const QString code = times(u"int a;\n"_qs, tenMebibytes);
    EXPECT_EQ(NoteMarkup::renderMarkdown(u"```\n"_qs + code + u"```"_qs),
              u"<pre><code>"_qs + code.chopped(1) + u"</code></pre>"_qs);
}

} // namespace lumivane
