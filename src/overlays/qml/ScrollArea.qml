import QtQuick
import Lumivane.Overlays

// Scrolls what is taller than itself: by the wheel, by dragging, and by the slim bar at its side.
Item {
    id: root

    default property alias content: holder.data
    property color tint
    // Whether a drag moves the content; otherwise it is the content's own, as for selecting.
    property bool isDraggable: true
    property alias contentY: flickable.contentY
    readonly property real scrollable: Math.max(0, holder.height - height)

    function scrollTo(y: real) {
        flickable.contentY = Math.max(0, Math.min(scrollable, y));
    }

    // Scrolls as little as it takes to show a line of the content.
    function reveal(top: real, bottom: real) {
        if (top < contentY) {
            scrollTo(top);
        } else if (bottom > contentY + height) {
            scrollTo(bottom - height);
        }
    }

    Flickable {
        id: flickable

        anchors.fill: parent
        clip: true
        contentWidth: width
        contentHeight: holder.height
        // It would keep every press from the panel under it.
        interactive: false

        Item {
            id: holder

            width: flickable.width
            height: childrenRect.height

            WheelHandler {
                onWheel: event => root.scrollTo(flickable.contentY - event.angleDelta.y
                                                * OverlayStyle.wheelStep / OverlayStyle.wheelNotch)
            }
        }
    }

    DragHandler {
        property real grabbedY: 0

        target: null
        enabled: root.isDraggable && root.scrollable > 0
        xAxis.enabled: false
        onActiveChanged: grabbedY = flickable.contentY
        onActiveTranslationChanged: {
            if (active) {
                root.scrollTo(grabbedY - activeTranslation.y);
            }
        }
    }

    Rectangle {
        id: indicator

        readonly property real travel: root.height - height

        objectName: "scrollIndicator"
        visible: root.scrollable > 0
        x: root.width + OverlayStyle.indicatorMargin
        y: root.scrollable > 0 ? travel * flickable.contentY / root.scrollable : 0
        width: OverlayStyle.indicatorWidth
        height: Math.min(root.height, Math.max(OverlayStyle.indicatorMinimumLength,
                                               root.height * root.height / holder.height))
        radius: width / 2
        color: OverlayStyle.faded(root.tint, grip.pressed ? OverlayStyle.indicatorPressedOpacity
                                                          : OverlayStyle.indicatorOpacity)

        MouseArea {
            id: grip

            property real grabbed: 0

            anchors {
                fill: parent
                leftMargin: -OverlayStyle.indicatorMargin
                rightMargin: -OverlayStyle.indicatorMargin
            }
            preventStealing: true
            onPressed: event => grabbed = event.y
            onPositionChanged: event => {
                if (indicator.travel > 0) {
                    root.scrollTo((indicator.y + event.y - grabbed) * root.scrollable
                                  / indicator.travel);
                }
            }
        }
    }
}
