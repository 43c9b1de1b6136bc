#include "notes/NoteMarkup.h"

#include <gtest/gtest.h>

namespace lumivane {

using NoteMarkup::escapeHTML;
using NoteMarkup::renderInline;
using NoteMarkup::renderMarkdown;

TEST(NoteMarkup, EscapesTheFiveCharactersAndNoMore) {
    EXPECT_EQ(escapeHTML(u"&<>\"'"), u"&amp;&lt;&gt;&quot;&#39;"_qs);
    EXPECT_EQ(escapeHTML(u"plain / text = (1+1); \\ ` é 漢 \U0001F600"),
              u"plain / text = (1+1); \\ ` é 漢 \U0001F600"_qs);
    EXPECT_EQ(escapeHTML(u""), QString());
}

TEST(NoteMarkup, EscapesAnEntityOnlyOnce) {
    EXPECT_EQ(escapeHTML(u"&lt;"), u"&amp;lt;"_qs);
    EXPECT_EQ(escapeHTML(u"&amp;amp;"), u"&amp;amp;amp;"_qs);
    EXPECT_EQ(escapeHTML(u"<&>"), u"&lt;&amp;&gt;"_qs);
}

TEST(NoteMarkup, MakesWhatStandsBetweenTwoPairsOfAsterisksStrong) {
    EXPECT_EQ(renderInline(u"**bold** plain"), u"<strong>bold</strong> plain"_qs);
    EXPECT_EQ(renderInline(u"a **b** c **d**"), u"a <strong>b</strong> c <strong>d</strong>"_qs);
    EXPECT_EQ(renderInline(u"**a<b**&"), u"<strong>a&lt;b</strong>&amp;"_qs);
}

TEST(NoteMarkup, AnUnbalancedPairShowsAsTyped) {
    EXPECT_EQ(renderInline(u"2 ** 3"), u"2 ** 3"_qs);
    EXPECT_EQ(renderInline(u"**a** b ** c"), u"**a** b ** c"_qs);
    EXPECT_EQ(renderInline(u"**a < b"), u"**a &lt; b"_qs);
    EXPECT_EQ(renderInline(u"**"), u"**"_qs);
    EXPECT_EQ(renderInline(u"a * b * c"), u"a * b * c"_qs);
    EXPECT_EQ(renderInline(u""), QString());
}

TEST(NoteMarkup, PairsOfAsterisksAreTakenFromTheLeft) {
    EXPECT_EQ(renderInline(u"****"), u"<strong></strong>"_qs);
    EXPECT_EQ(renderInline(u"***a***"), u"<strong>*a</strong>*"_qs);
    EXPECT_EQ(renderInline(u"***"), u"***"_qs);
    EXPECT_EQ(renderInline(u"*****"), u"<strong></strong>*"_qs);
}

TEST(NoteMarkup, ALineIsAParagraph) {
    EXPECT_EQ(renderMarkdown(u"**bold** plain"), u"<p><strong>bold</strong> plain</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"<div>"), u"<p>&lt;div&gt;</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"one\ntwo"), u"<p>one</p><p>two</p>"_qs);
    EXPECT_EQ(renderMarkdown(u" "), u"<p> </p>"_qs);
}

TEST(NoteMarkup, AnEmptyLineIsABreak) {
    EXPECT_EQ(renderMarkdown(u""), u"<br>"_qs);
    EXPECT_EQ(renderMarkdown(u"a\n\nb\n"), u"<p>a</p><br><p>b</p><br>"_qs);
}

TEST(NoteMarkup, EveryLineEndingEndsOneLine) {
    EXPECT_EQ(renderMarkdown(u"a\r\nb\rc\nd"), u"<p>a</p><p>b</p><p>c</p><p>d</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"a\r\r\nb"), u"<p>a</p><br><p>b</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"a\n\rb"), u"<p>a</p><br><p>b</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"\r\n"), u"<br><br>"_qs);
    EXPECT_EQ(renderMarkdown(u"\u2028a\vb\f"), u"<p>\u2028a\vb\f</p>"_qs);
}

TEST(NoteMarkup, HeadingsHaveThreeLevels) {
    EXPECT_EQ(renderMarkdown(u"# one"), u"<h1>one</h1>"_qs);
    EXPECT_EQ(renderMarkdown(u"## **two**"), u"<h2><strong>two</strong></h2>"_qs);
    EXPECT_EQ(renderMarkdown(u"### three <"), u"<h3>three &lt;</h3>"_qs);
    EXPECT_EQ(renderMarkdown(u"# "), u"<h1></h1>"_qs);
    EXPECT_EQ(renderMarkdown(u"#  two blanks"), u"<h1> two blanks</h1>"_qs);
}

TEST(NoteMarkup, WhatOnlyLooksLikeAHeadingIsAParagraph) {
    EXPECT_EQ(renderMarkdown(u"#### x"), u"<p>#### x</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"#x"), u"<p>#x</p>"_qs);
    EXPECT_EQ(renderMarkdown(u" # x"), u"<p> # x</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"#"), u"<p>#</p>"_qs);
}

TEST(NoteMarkup, NeighbouringItemsOfOneKindAreOneList) {
    EXPECT_EQ(renderMarkdown(u"- a\n- b\n1. c"),
              u"<ul><li>a</li><li>b</li></ul><ol><li>c</li></ol>"_qs);
    EXPECT_EQ(renderMarkdown(u"- a\n* b"), u"<ul><li>a</li><li>b</li></ul>"_qs);
    EXPECT_EQ(renderMarkdown(u"9. a\n10. b\n007. c"),
              u"<ol><li>a</li><li>b</li><li>c</li></ol>"_qs);
}

TEST(NoteMarkup, AnItemsTextIsRenderedInline) {
    EXPECT_EQ(renderMarkdown(u"- **a** & b"), u"<ul><li><strong>a</strong> &amp; b</li></ul>"_qs);
    EXPECT_EQ(renderMarkdown(u"1. # no heading"), u"<ol><li># no heading</li></ol>"_qs);
    EXPECT_EQ(renderMarkdown(u"- "), u"<ul><li></li></ul>"_qs);
}

TEST(NoteMarkup, WhatOnlyLooksLikeAnItemIsAParagraph) {
    EXPECT_EQ(renderMarkdown(u"-a"), u"<p>-a</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"-"), u"<p>-</p>"_qs);
    EXPECT_EQ(renderMarkdown(u" - a"), u"<p> - a</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"1.a"), u"<p>1.a</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"1."), u"<p>1.</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"1) a"), u"<p>1) a</p>"_qs);
    EXPECT_EQ(renderMarkdown(u". a"), u"<p>. a</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"+ a"), u"<p>+ a</p>"_qs);
}

TEST(NoteMarkup, DigitsOfEveryScriptNumberAnItem) {
    EXPECT_EQ(renderMarkdown(u"١٢. a"), u"<ol><li>a</li></ol>"_qs);
    EXPECT_EQ(renderMarkdown(u"\U0001D7D9. a"), u"<ol><li>a</li></ol>"_qs);
    EXPECT_EQ(renderMarkdown(u"². a"), u"<p>². a</p>"_qs); // a number, but no digit
}

TEST(NoteMarkup, HalfAPairOfSurrogatesTakesNoItemAway) {
    const QString half(QChar(0xD800));
    EXPECT_EQ(renderMarkdown(u"1. "_qs + half), u"<ol><li>"_qs + half + u"</li></ol>"_qs);
    EXPECT_EQ(renderMarkdown(half + u"1. a"_qs), u"<p>"_qs + half + u"1. a</p>"_qs);
}

TEST(NoteMarkup, WhateverIsNoItemClosesTheList) {
    EXPECT_EQ(renderMarkdown(u"- a\n\n- b"), u"<ul><li>a</li></ul><br><ul><li>b</li></ul>"_qs);
    EXPECT_EQ(renderMarkdown(u"- a\n# b"), u"<ul><li>a</li></ul><h1>b</h1>"_qs);
    EXPECT_EQ(renderMarkdown(u"1. a\nb"), u"<ol><li>a</li></ol><p>b</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"- a\n```\nb\n```"),
              u"<ul><li>a</li></ul><pre><code>b</code></pre>"_qs);
}

TEST(NoteMarkup, CodeIsEscapedAndNotRendered) {
    EXPECT_EQ(renderMarkdown(u"```\na < b\n**x**\n- y\n# z\n\n  1. w\n```"),
              u"<pre><code>a &lt; b\n**x**\n- y\n# z\n\n  1. w</code></pre>"_qs);
}

TEST(NoteMarkup, ALanguageAfterAFenceIsIgnored) {
    EXPECT_EQ(renderMarkdown(u"```cpp\nint a;\n``` end"), u"<pre><code>int a;</code></pre>"_qs);
    EXPECT_EQ(renderMarkdown(u"````\na\n````"), u"<pre><code>a</code></pre>"_qs);
}

TEST(NoteMarkup, AnIndentedOrShortFenceIsNone) {
    EXPECT_EQ(renderMarkdown(u" ```"), u"<p> ```</p>"_qs);
    EXPECT_EQ(renderMarkdown(u"``"), u"<p>``</p>"_qs);
}

TEST(NoteMarkup, AnItemStraightAfterAFenceClosesNothingTwice) {
    EXPECT_EQ(renderMarkdown(u"- a\n```\nx\n```\n- item"),
              u"<ul><li>a</li></ul><pre><code>x</code></pre><ul><li>item</li></ul>"_qs);
    EXPECT_EQ(renderMarkdown(u"```\n```\n- item"),
              u"<pre><code></code></pre><ul><li>item</li></ul>"_qs);
}

TEST(NoteMarkup, AFenceThatIsNeverClosedKeepsItsCode) {
    EXPECT_EQ(renderMarkdown(u"a\n```\nx\ny"), u"<p>a</p><pre><code>x\ny</code></pre>"_qs);
    EXPECT_EQ(renderMarkdown(u"```"), u"<pre><code></code></pre>"_qs);
    EXPECT_EQ(renderMarkdown(u"```\nx\n"), u"<pre><code>x\n</code></pre>"_qs);
}

TEST(NoteMarkup, CodeKeepsItsEmptyLines) {
    EXPECT_EQ(renderMarkdown(u"```\n\n\nx\n\n```"), u"<pre><code>\n\nx\n</code></pre>"_qs);
    EXPECT_EQ(renderMarkdown(u"```\n\n```"), u"<pre><code></code></pre>"_qs);
}

TEST(NoteMarkup, ASecondBlockHoldsNothingOfTheFirst) {
    EXPECT_EQ(renderMarkdown(u"```\na\n```\n```\nb\n```"),
              u"<pre><code>a</code></pre><pre><code>b</code></pre>"_qs);
}

TEST(NoteMarkup, ANotesBodyIsItsMarkdownAlone) {
    const LeetCodeNote note{u"<Title>"_qs, LeetCodeAnswerStatus::liveUnvalidated, u"# a\n- b"_qs,
                            QDateTime()};
    EXPECT_EQ(NoteMarkup::html(note), u"<h1>a</h1><ul><li>b</li></ul>"_qs);
}

TEST(NoteMarkup, AWholeAnswerRendersInOrder) {
    EXPECT_EQ(renderMarkdown(u"# Two Sum\n\n**Status:** checked\n\n## Idea\n- a map\n- one pass\n"
                             u"\n```python\nd = {}\n```\nDone."),
              u"<h1>Two Sum</h1><br><p><strong>Status:</strong> checked</p><br><h2>Idea</h2>"
              u"<ul><li>a map</li><li>one pass</li></ul><br><pre><code>d = {}</code></pre>"
              u"<p>Done.</p>"_qs);
}

} // namespace lumivane
