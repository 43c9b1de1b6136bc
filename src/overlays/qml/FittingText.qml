import QtQuick
import Lumivane.Overlays

// One line that shrinks to a share of its size before it is cut.
OverlayText {
    id: root

    property real fullSize: OverlayStyle.calloutSize
    property real minimumScale: 1
    property real availableWidth: width

    size: OverlayStyle.sizeInLine(text,
                                  fixedWidth ? OverlayStyle.fixedFont(fullSize, weight)
                                             : OverlayStyle.systemFont(fullSize, weight),
                                  fullSize, minimumScale, availableWidth)
    maximumLineCount: 1
    elide: Text.ElideRight
}
