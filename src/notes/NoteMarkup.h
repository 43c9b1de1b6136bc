#pragma once

#include "notes/NotesServing.h"

#include <QString>
#include <QStringView>

namespace lumivane {

/// Turns the Markdown of an answer into the small set of HTML tags that note programs take.
///
/// A line scanner for the subset that the service writes, not a Markdown engine. Any input gives
/// balanced tags and shows nothing of the input unescaped; time is linear in its length. Pure, any
/// thread.
namespace NoteMarkup {

/// The body of a note: its Markdown, rendered.
QString html(const LeetCodeNote& note);

/// Headings of three levels, both kinds of lists, fenced code, paragraphs; lines end in any of
/// "\r\n", "\r" and "\n". A fence that is never closed keeps its code.
QString renderMarkdown(QStringView text);

/// One line with what stands between two "**" made strong. Without a partner for each of them all
/// asterisks show as typed.
QString renderInline(QStringView text);

/// Safe between tags and in attribute values of either quote.
QString escapeHTML(QStringView text);

} // namespace NoteMarkup

} // namespace lumivane
