import QtQuick
import Lumivane.Overlays

// A text of any size, fractions included.
Item {
    id: root

    property alias text: label.text
    property alias color: label.color
    property alias elide: label.elide
    property alias wrapMode: label.wrapMode
    property alias maximumLineCount: label.maximumLineCount
    property alias horizontalAlignment: label.horizontalAlignment
    property alias verticalAlignment: label.verticalAlignment
    property alias truncated: label.truncated
    property real size: OverlayStyle.calloutSize
    property int weight: Font.Normal
    property real tracking: 0
    property bool fixedWidth: false
    readonly property int detail: OverlayStyle.detail(size)

    implicitWidth: Math.ceil(label.implicitWidth / detail)
    implicitHeight: Math.ceil(label.implicitHeight / detail)

    Text {
        id: label

        width: root.width * root.detail
        height: root.height * root.detail
        scale: 1 / root.detail
        transformOrigin: Item.TopLeft
        textFormat: Text.PlainText
        font: root.fixedWidth ? OverlayStyle.fixedFont(root.size, root.weight)
                              : OverlayStyle.systemFont(root.size, root.weight, root.tracking)
    }
}
