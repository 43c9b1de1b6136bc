import QtQuick
import Lumivane.Overlays

// What every button of the panels has in common: the press by pointer, key and assistive
// technology, its name and help, and the ring of the keyboard's focus.
Item {
    id: root

    property string label
    property string help: label
    property real ringRadius: OverlayStyle.buttonRadius
    property color ringColor: OverlayStyle.foregroundOnFill
    readonly property alias hovered: area.containsMouse
    readonly property bool pressed: area.pressed && area.containsMouse

    signal activated()

    Accessible.role: Accessible.Button
    Accessible.ignored: !visible
    Accessible.name: label
    Accessible.description: help === label ? "" : help
    Accessible.focusable: activeFocusOnTab
    Accessible.onPressAction: root.activated()
    Keys.onSpacePressed: root.activated()

    // Keeps the press from the panel's own tap.
    MouseArea {
        id: area

        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.activated()
    }

    Rectangle {
        anchors {
            fill: parent
            margins: -OverlayStyle.focusRingMargin
        }
        visible: root.activeFocus
        radius: root.ringRadius + OverlayStyle.focusRingMargin
        color: "transparent"
        border {
            width: OverlayStyle.focusRingWidth
            color: root.ringColor
        }
    }
}
