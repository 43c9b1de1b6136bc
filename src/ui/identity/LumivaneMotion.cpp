#include "ui/identity/LumivaneMotion.h"

#include <QPointF>

namespace lumivane {

namespace {

QEasingCurve cubic(QPointF first, QPointF second) {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment(first, second, {1, 1});
    return curve;
}

} // namespace

QEasingCurve LumivaneMotion::timingCurve() { return cubic({0.32, 0.72}, {0, 1}); }

QEasingCurve LumivaneMotion::easeInOut() { return cubic({0.42, 0}, {0.58, 1}); }

LumivaneMotion::Animation LumivaneMotion::travel(bool reduceMotion, milliseconds duration) {
    return reduceMotion ? Animation{reducedCrossFadeDuration, easeInOut()}
                        : Animation{duration, timingCurve()};
}

LumivaneMotion::Animation LumivaneMotion::indicator(bool reduceMotion) {
    return travel(reduceMotion, indicatorDuration);
}

LumivaneMotion::Animation LumivaneMotion::selection(bool reduceMotion) {
    return travel(reduceMotion, selectionDuration);
}

LumivaneMotion::Animation LumivaneMotion::disclosure(bool reduceMotion) {
    return reduceMotion ? Animation{reducedContentFadeDuration, easeInOut()}
                        : Animation{disclosureDuration, timingCurve()};
}

LumivaneMotion::Animation LumivaneMotion::contentFade(bool reduceMotion, milliseconds duration) {
    return {reduceMotion ? reducedContentFadeDuration : duration, easeInOut()};
}

LumivaneMotion::Animation LumivaneMotion::appearanceOut() {
    return {appearanceFadeOut, easeInOut()};
}

LumivaneMotion::Animation LumivaneMotion::appearanceIn() {
    return {appearanceFadeIn, timingCurve()};
}

} // namespace lumivane
