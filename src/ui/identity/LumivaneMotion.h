#pragma once

#include <QEasingCurve>

#include <chrono>

namespace lumivane {

/// How things move. Views take durations and curves from here and have none of their own.
namespace LumivaneMotion {

using std::chrono::milliseconds;

inline constexpr milliseconds indicatorDuration{340};
inline constexpr milliseconds selectionDuration{300};
inline constexpr milliseconds disclosureDuration{280};
inline constexpr milliseconds reducedCrossFadeDuration{140};
inline constexpr milliseconds reducedContentFadeDuration{160};
inline constexpr milliseconds appearanceFadeOut{160};
inline constexpr milliseconds appearanceFadeIn{260};

/// How long a change of the appearance waits for the old one to fade.
inline constexpr int appearanceSwapDelayMilliseconds = appearanceFadeOut.count();

/// A change as a view runs it: how long it takes, and how it starts and settles.
struct Animation {
    milliseconds duration; ///< of the whole change
    QEasingCurve curve;

    bool operator==(const Animation&) const = default;
};

/// Starts at once and settles softly: the cubic through (0.32, 0.72) and (0, 1).
QEasingCurve timingCurve();

/// Slow at both ends alike: the cubic through (0.42, 0) and (0.58, 1).
QEasingCurve easeInOut();

/// Something goes from one place to another; under Reduce Motion it fades across instead.
Animation travel(bool reduceMotion, milliseconds duration);

/// The indicator of a sliding control.
Animation indicator(bool reduceMotion);

/// The highlight of a row or tile.
Animation selection(bool reduceMotion);

/// A group that opens or closes.
Animation disclosure(bool reduceMotion);

/// Contents that replace each other in place.
Animation contentFade(bool reduceMotion, milliseconds duration);

/// The old appearance going, and the new one coming.
Animation appearanceOut();
Animation appearanceIn();

} // namespace LumivaneMotion

} // namespace lumivane
