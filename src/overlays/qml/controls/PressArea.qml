import QtQuick
import Lumivane.Overlays

// What every button of the panels has in common: the press by pointer, key and assistive
// technology, its name and help, and the ring of the keyboard's focus.
Item {
    id: root

    property string label
    property string help: label
    // Whether the help is shown to a pointer that rests here: what has its words on it needs none.
    property bool hasTip: false
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
    onVisibleChanged: tip.end()

    // Keeps the press from the panel's own tap.
    MouseArea {
        id: area

        anchors.fill: parent
        hoverEnabled: true
        onEntered: tip.begin()
        onExited: tip.end()
        onPressed: tip.end()
        onClicked: root.activated()
    }

    PressTip {
        id: tip

        target: root
        text: root.hasTip ? root.help : ""
    }

    Rectangle {
        anchors {
            fill: parent
            margins: -OverlayStyle.focusRingMargin
        }
        visible: root.activeFocus
        radius: root.ringRadius + OverlayStyle.focusRingMargin
        color: OverlayStyle.noColor
        border {
            width: OverlayStyle.focusRingWidth
            color: root.ringColor
        }
    }
}
