import QtQuick

// A square of one point's width inside, so that a test sees whether edges are sharp.
Rectangle {
    id: root

    required property QtObject model

    color: model.surface
    radius: model.cornerRadius

    Rectangle {
        x: 21
        y: 21
        width: 1
        height: 1
        antialiasing: false
        color: "#0000ff"
    }

    Shortcut {
        sequence: "Return"
        onActivated: root.model.note("return")
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.note("escape")
    }

    HoverHandler {
        onHoveredChanged: root.model.note(hovered ? "enter" : "leave")
    }

    MouseArea {
        anchors.fill: parent
        onClicked: {
            root.model.note("click");
            // Still works after a panel that has closed itself in the line before.
            root.model.note("clicked");
        }
    }
}
