import QtQuick
import Lumivane.Overlays

// Scrolls what is taller than itself: by the wheel, by dragging, and by the slim bar at its side.
Item {
    id: root

    default property alias content: holder.data
    property color tint
    // Whether a drag moves the content; otherwise it is the content's own, as for selecting.
    property bool isDraggable: true
    readonly property real scrollable: Math.max(0, flickable.contentHeight - flickable.height)
    readonly property alias flickable: flickable

    signal tapped()

    function scrollTo(y) {
        flickable.contentY = Math.max(0, Math.min(scrollable, y));
    }

    Flickable {
        id: flickable

        anchors.fill: parent
        clip: true
        contentWidth: width
        contentHeight: holder.height
        interactive: root.isDraggable && root.scrollable > 0
        boundsBehavior: Flickable.StopAtBounds

        Item {
            id: holder

            width: flickable.width
            height: childrenRect.height

            // The flickable keeps a press from the panel under it.
            TapHandler {
                enabled: flickable.interactive
                onTapped: root.tapped()
            }
        }
    }

    WheelHandler {
        target: null
        onWheel: event => {
            const pixels = event.pixelDelta.y !== 0
                         ? event.pixelDelta.y : event.angleDelta.y / 120 * OverlayStyle.wheelStep;
            root.scrollTo(flickable.contentY - pixels);
        }
    }

    Rectangle {
        visible: root.scrollable > 0
        x: root.width + OverlayStyle.indicatorMargin
        y: flickable.visibleArea.yPosition * root.height
        width: OverlayStyle.indicatorWidth
        height: Math.max(OverlayStyle.indicatorMinimumLength,
                         flickable.visibleArea.heightRatio * root.height)
        radius: width / 2
        color: OverlayStyle.faded(root.tint, OverlayStyle.indicatorOpacity)
    }
}
