import QtQuick
import Lumivane.Identity
import Lumivane.Overlays

// A symbol and a word in a rounded outline.
PressArea {
    id: root

    property alias symbol: glyph.name
    property color tint

    implicitWidth: row.implicitWidth + 2 * OverlayStyle.copyButtonPadding
    implicitHeight: OverlayStyle.copyButtonHeight
    ringRadius: OverlayStyle.copyButtonRadius
    ringColor: tint
    hasTip: true
    Accessible.name: help
    Accessible.description: "" // the name says it all

    PanelSurface {
        anchors {
            fill: parent
            margins: -OverlayStyle.buttonMargin
        }
        margin: OverlayStyle.buttonMargin
        radius: OverlayStyle.copyButtonRadius
        lineWidth: OverlayStyle.lineWidth
        fill: OverlayStyle.faded(root.tint, root.hovered ? OverlayStyle.hoveredFillOpacity : 0)
        outline: OverlayStyle.faded(root.tint, OverlayStyle.copyButtonOutlineOpacity)
    }

    Row {
        id: row

        anchors.centerIn: parent
        spacing: OverlayStyle.copyButtonSpacing
        opacity: root.pressed ? OverlayStyle.pressedOpacity : 1

        Symbol {
            id: glyph

            anchors.verticalCenter: parent.verticalCenter
            width: OverlayStyle.copyButtonSymbol
            height: OverlayStyle.copyButtonSymbol
            color: root.tint
        }

        OverlayText {
            anchors.verticalCenter: parent.verticalCenter
            text: root.label
            fixedWidth: true
            size: OverlayStyle.copyButtonSize
            weight: Font.DemiBold
            color: root.tint
        }
    }
}
