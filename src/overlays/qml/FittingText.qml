import QtQuick
import Lumivane.Overlays

// One line that shrinks to a share of its size before it is cut.
OverlayText {
    id: root

    property real fullSize: OverlayStyle.calloutSize
    property real minimumScale: 1
    readonly property font fullFont: fixedWidth ? OverlayStyle.fixedFont(fullSize, weight)
                                                : OverlayStyle.systemFont(fullSize, weight)

    // Of the full size, whatever the text shrinks to.
    implicitWidth: OverlayStyle.lineWidthOf(text, fullFont, fullSize)
    size: OverlayStyle.sizeInLine(text, fullFont, fullSize, minimumScale, width)
    maximumLineCount: 1
    elide: Text.ElideRight
}
