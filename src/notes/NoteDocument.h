#pragma once

#include "notes/NotesServing.h"

#include <QByteArray>

namespace lumivane {

/// A note as a page that any browser shows by itself: no script, nothing fetched, light and dark
/// as the reader's desktop has it. UTF-8. Pure, any thread.
QByteArray noteDocument(const LeetCodeNote& note);

} // namespace lumivane
