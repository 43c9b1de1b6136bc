import QtQuick
import Lumivane.Identity
import Lumivane.Overlays

// A round close button and its like: nothing but a symbol.
PressArea {
    id: root

    property alias symbol: glyph.name
    property alias color: glyph.color

    implicitWidth: OverlayStyle.symbolButtonSize
    implicitHeight: OverlayStyle.symbolButtonSize
    ringRadius: width / 2
    hasTip: true

    Symbol {
        id: glyph

        anchors.centerIn: parent
        width: OverlayStyle.symbolButtonSymbol
        height: OverlayStyle.symbolButtonSymbol
        opacity: root.pressed ? OverlayStyle.pressedOpacity
                              : root.hovered ? 1 : OverlayStyle.symbolButtonOpacity
    }
}
