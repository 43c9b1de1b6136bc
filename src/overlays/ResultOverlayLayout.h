#pragma once

/// Lengths of a result panel, in points.
namespace lumivane::ResultOverlayLayout {

inline constexpr double cornerRadius = 11;
inline constexpr double verticalPadding = 16;
inline constexpr double horizontalPadding = 18;
inline constexpr double headerHeight = 24;
inline constexpr double answerTopMargin = 9;
inline constexpr double countdownTopMargin = 14;
inline constexpr double countdownHeight = 2;
inline constexpr double footerTopMargin = 9;
inline constexpr double footerHeight = 26;

/// The height of all that surrounds the answer.
constexpr double chromeHeight(bool hasCountdown) {
    const double countdown = hasCountdown ? countdownTopMargin + countdownHeight : 0;
    return 2 * verticalPadding + headerHeight + answerTopMargin + countdown + footerTopMargin +
           footerHeight;
}

} // namespace lumivane::ResultOverlayLayout
