#pragma once

#include "ui/identity/LumivaneIdentityGeometry.h"

#include <QRectF>

namespace lumivane {

/// The ring of the mark as a shape that fills what it is given.
struct LumivaneRing {
    LumivaneMarkCut cut = LumivaneMarkCut::standard;

    /// The ring's line, scaled so that its grid fits the smaller side of `rect`, and centred in it.
    QPainterPath path(const QRectF& rect) const;
};

} // namespace lumivane
