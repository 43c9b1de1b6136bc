#pragma once

#include "overlays/StyledText.h"

#include <QString>

namespace lumivane::InlineMarkdown {

/// One line as styled text: strong, emphasis, code and strikethrough become styles, links and
/// images their text, escapes and entities the characters that they stand for. Markup of blocks
/// and HTML mean nothing and stay as written, and so do blanks.
///
/// Any thread. Linear in the line's length, and the text is never longer than the line; what cannot
/// be parsed is the line itself, in no style. `line` holds no line break, and neither does the
/// text.
StyledText parsed(const QString& line);

} // namespace lumivane::InlineMarkdown
