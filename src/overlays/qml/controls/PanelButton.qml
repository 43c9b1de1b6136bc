import QtQuick
import Lumivane.Overlays

// A button with a word on it; the default one stands out.
PressArea {
    id: root

    property bool isDefault: false

    implicitWidth: Math.max(OverlayStyle.buttonMinimumWidth,
                            word.implicitWidth + 2 * OverlayStyle.buttonPadding)
    implicitHeight: OverlayStyle.buttonHeight
    activeFocusOnTab: true

    PanelSurface {
        anchors {
            fill: parent
            margins: -OverlayStyle.buttonMargin
        }
        margin: OverlayStyle.buttonMargin
        radius: OverlayStyle.buttonRadius
        fill: root.isDefault ? OverlayStyle.defaultButtonFill : OverlayStyle.buttonFill
        outline: root.isDefault ? OverlayStyle.noColor : OverlayStyle.buttonOutline
        opacity: root.pressed ? OverlayStyle.pressedOpacity
                              : root.hovered ? OverlayStyle.hoveredOpacity : 1
    }

    OverlayText {
        id: word

        anchors.centerIn: parent
        text: root.label
        size: OverlayStyle.buttonSize
        weight: root.isDefault ? Font.DemiBold : Font.Medium
        color: root.isDefault ? OverlayStyle.defaultButtonText : OverlayStyle.foregroundOnFill
    }
}
