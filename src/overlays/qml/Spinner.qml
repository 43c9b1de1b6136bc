import QtQuick
import Lumivane.Overlays

// Goes round in steps: a smooth turn would repaint the panel as often as the machine can.
SpokeWheel {
    id: root

    implicitWidth: OverlayStyle.spinnerSize
    implicitHeight: OverlayStyle.spinnerSize

    Timer {
        objectName: "spinnerClock"
        interval: Accessibility.reduceMotion ? OverlayStyle.calmSpinnerInterval
                                             : OverlayStyle.spinnerInterval
        running: root.visible
        repeat: true
        onTriggered: root.step = (root.step + 1) % root.spokes
    }
}
