#include "notes/NoteDocument.h"

#include "notes/NoteMarkup.h"
#include "notes/NoteNaming.h"

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

// Each block takes the direction of its own text; code always runs from left to right.
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
header, h1, h2, h3, p, li { unicode-bidi: plaintext; }
pre { margin: 0.75em 0; padding: 0.875rem 1rem; overflow-x: auto; border: 1px solid var(--line);
  border-radius: 0.5rem; background: var(--code); direction: ltr; tab-size: 4; }
code { font: 0.875rem/1.5 ui-monospace, monospace; }
@media print { body { max-width: none; padding: 0; } pre { white-space: pre-wrap; } }
</style>
</head>
<body>
<header>)"_qs;

} // namespace

QByteArray noteDocument(const LeetCodeNote& note) {
    const QString title = NoteMarkup::escapeHTML(NoteNaming::title(note).simplified());
    QString page = head + title + style + title + u"</header>\n<main>\n"_qs +
                   NoteMarkup::html(note) + u"\n</main>\n</body>\n</html>\n"_qs;
    // Programs take a file with one of these for no text at all.
    page.remove(QChar::Null);
    return page.toUtf8();
}

} // namespace lumivane
