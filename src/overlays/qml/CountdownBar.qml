import QtQuick
import Lumivane.Overlays

// The time that is left. The bar itself only steps; where the desktop can, the panel lets it glide.
Item {
    id: root

    required property CountdownBarModel model
    // Where the bar lies in the panel, and on what.
    property point origin
    property color surface

    implicitHeight: OverlayStyle.countdownHeight
    onOriginChanged: place()
    onWidthChanged: place()
    onHeightChanged: place()
    onSurfaceChanged: place()

    function place() {
        if (width > 0 && height > 0) {
            model.place(Qt.rect(origin.x, origin.y, width, height), surface);
        }
    }

    Binding {
        target: root.model
        property: "reduceMotion"
        value: Accessibility.reduceMotion
    }

    Rectangle {
        anchors.fill: parent
        radius: OverlayStyle.countdownRadius
        color: root.model.track
    }

    Rectangle {
        objectName: "countdownFill"
        width: parent.width * root.model.displayedFraction
        height: parent.height
        radius: OverlayStyle.countdownRadius
        color: root.model.fill
    }
}
