#include "notes/NoteDocument.h"

#include "notes/NoteMarkup.h"
#include "notes/NoteNaming.h"

#include <QRegularExpression>
#include <QString>

namespace lumivane {

namespace {

// The policy refuses everything but the page's own style, should a browser ever see more in it.
const QString head = uR"(<!DOCTYPE html>
<html>
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>)"_qs;

// Lists stand on the side on which the note's own language begins, and each block takes the
// direction of its own text; code always runs from left to right.
const QString style = uR"(</title>
<style>
:root { --paper: #ffffff; --ink: #1d2126; --quiet: #5b6470; --line: #d9dee4; --code: #f3f5f7; }
@media (prefers-color-scheme: dark) {
:root { --paper: #16191d; --ink: #e4e8ec; --quiet: #9aa4b0; --line: #333a42; --code: #20252b; }
}
body { margin: 0 auto; max-width: 46rem; padding: 2rem 1.25rem 4rem; background: var(--paper);
  color: var(--ink); font: 1rem/1.6 system-ui, sans-serif; overflow-wrap: break-word; }
header { padding-bottom: 0.75rem; margin-bottom: 1.5rem; border-bottom: 1px solid var(--line);
  color: var(--quiet); font-size: 0.875rem; }
h1, h2, h3 { line-height: 1.25; margin: 1.5em 0 0.5em; }
p, ul, ol { margin: 0.5em 0; }
br + h1, br + h2, br + h3 { margin-top: 0.25em; }
br + p, br + ul, br + ol { margin-top: 0; }
h1, h2, h3, p, li { unicode-bidi: plaintext; }
pre { margin: 0.875rem 0; padding: 0.875rem 1rem; overflow-x: auto; border: 1px solid var(--line);
  border-radius: 0.5rem; background: var(--code); direction: ltr; tab-size: 4;
  font: 0.875rem/1.5 ui-monospace, monospace; }
code { font: inherit; }
@media print { body { max-width: none; padding: 0; } pre { white-space: pre-wrap; } }
</style>
</head>
<body>
<header>)"_qs;

constexpr QChar firstStrongIsolate{0x2068};
constexpr QChar popDirectionalIsolate{0x2069};

/// The question as it may stand in a line with other words: what turns the reading direction by
/// itself would reach beyond it, and the file's name has none of these either.
QString question(const LeetCodeNote& note) {
    static const QRegularExpression turning(u"[\u202A-\u202E\u2066-\u2069]"_qs);
    return QString(note.questionTitle).remove(turning).simplified();
}

/// The note's title around a question that keeps its direction to itself.
QString titleWith(const LeetCodeNote& note, const QString& shownQuestion) {
    return NoteNaming::folderName + u" — "_qs + shownQuestion + u" — "_qs +
           NoteNaming::timestamp(note.createdAt);
}

} // namespace

QByteArray noteDocument(const LeetCodeNote& note) {
    const QString escaped = NoteMarkup::escapeHTML(question(note));
    // No element may stand in a page's title.
    const QString title = titleWith(note, firstStrongIsolate + escaped + popDirectionalIsolate);
    const QString header = titleWith(note, u"<bdi>"_qs + escaped + u"</bdi>"_qs);
    QString page = head + title + style + header + u"</header>\n<main dir=\"auto\">\n"_qs +
                   NoteMarkup::html(note) + u"\n</main>\n</body>\n</html>\n"_qs;
    // Programs take a file with one of these for no text at all.
    page.remove(QChar::Null);
    return page.toUtf8();
}

} // namespace lumivane
