#pragma once

#include <QString>
#include <QStringList>

namespace lumivane::bench {

/// Running prose of about `sentences` sentences, the same for the same `start`; a start of its own
/// gives each paragraph other sentences.
QString prose(int start, int sentences);

/// A source file, line by line, indented by blanks.
QStringList sourceCode();

/// What a shell session leaves on the screen, line by line.
QStringList shellSession();

} // namespace lumivane::bench
