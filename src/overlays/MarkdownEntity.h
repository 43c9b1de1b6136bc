#pragma once

#include <QByteArrayView>
#include <QString>

namespace lumivane {

/// What a character reference of Markdown stands for: "&amp;", "&#38;", "&#x26;", ampersand and
/// semicolon included. An unknown name stays as written; a number that is no character gives
/// U+FFFD; a line break gives a blank, so that a line remains one. Never longer than `entity`.
QString markdownEntity(QByteArrayView entity);

} // namespace lumivane
