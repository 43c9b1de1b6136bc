#pragma once

#include "notes/NotesServing.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <optional>

namespace lumivane {

/// The script that makes a note, and what its failures mean. Pure, any thread.
namespace NotesScript {

/// Adds a note of `title` with the HTML `body` to `folder` of the default account, and makes the
/// folder where it is missing. Every value stands on the line of its own statement.
QString makeNote(const QString& folder, const QString& title, const QString& body);

/// The text as a string of the scripting language, quotes included.
QString literal(QStringView text);

/// A number of -1743 is the user's refusal; any other, or none, is a failed creation.
NotesServiceError error(std::optional<std::int32_t> appleScriptErrorNumber);

} // namespace NotesScript

} // namespace lumivane
