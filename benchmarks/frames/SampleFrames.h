#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

#include <array>

namespace lumivane::bench {

enum class FrameKind { document, twoColumns, threeColumns, code, terminal, dashboard };
enum class FrameTheme { light, dark };

inline constexpr std::array allFrameKinds{FrameKind::document,     FrameKind::twoColumns,
                                          FrameKind::threeColumns, FrameKind::code,
                                          FrameKind::terminal,     FrameKind::dashboard};

/// A painted display of 1440 by 900 points and the text that stands on it.
struct SampleFrame {
    QString name; ///< such as "code-dark-2x"
    QImage image;
    int scale = 1;         ///< pixels per point
    QStringList knownText; ///< every painted line, each cell of a table on its own
};

/// Paints the frame. Needs an application object with fonts behind it; main thread.
SampleFrame paintSampleFrame(FrameKind kind, FrameTheme theme, int scale);

} // namespace lumivane::bench
