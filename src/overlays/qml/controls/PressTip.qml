import QtQuick
import Lumivane.Overlays

// A few words beside what the pointer rests on. Lies over everything inside the panel and takes
// neither presses nor the pointer from anything under it.
Item {
    id: root

    required property Item target
    property string text
    property Item panel
    property point spot

    function begin() {
        if (text !== "") {
            delay.restart();
        }
    }

    function end() {
        delay.stop();
        bubble.active = false;
    }

    function show() {
        panel = target;
        // The last parent of all is the window's own item.
        while (panel.parent && panel.parent.parent) {
            panel = panel.parent;
        }
        spot = target.mapToItem(panel, 0, 0);
        bubble.active = true;
    }

    Timer {
        id: delay

        objectName: "tipClock"
        interval: OverlayStyle.tipDelay
        onTriggered: root.show()
    }

    Loader {
        id: bubble

        readonly property real leftmost: OverlayStyle.tipMargin
        readonly property real rightmost: root.panel ? root.panel.width - OverlayStyle.tipMargin
                                                       - width : 0
        readonly property real below: root.spot.y + root.target.height + OverlayStyle.tipDistance
        readonly property bool fitsBelow: root.panel !== null && below + height
                                          <= root.panel.height - OverlayStyle.tipMargin

        objectName: "tip"
        parent: root.panel
        z: 1
        active: false
        x: Math.max(leftmost, Math.min(rightmost, root.spot.x + (root.target.width - width) / 2))
        y: fitsBelow ? below : root.spot.y - OverlayStyle.tipDistance - height
        width: root.panel ? Math.min(implicitWidth, root.panel.width - 2 * leftmost) : 0
        sourceComponent: PanelSurface {
            implicitWidth: words.implicitWidth + 2 * OverlayStyle.tipHorizontalPadding
            implicitHeight: words.implicitHeight + 2 * OverlayStyle.tipVerticalPadding
            fill: OverlayStyle.tipFill
            outline: OverlayStyle.tipOutline
            lineWidth: OverlayStyle.lineWidth
            radius: OverlayStyle.tipRadius

            OverlayText {
                id: words

                anchors {
                    fill: parent
                    leftMargin: OverlayStyle.tipHorizontalPadding
                    rightMargin: OverlayStyle.tipHorizontalPadding
                }
                text: root.text
                size: OverlayStyle.tipSize
                color: OverlayStyle.tipText
                verticalAlignment: Text.AlignVCenter
                maximumLineCount: 1
                elide: Text.ElideRight
            }
        }
    }
}
