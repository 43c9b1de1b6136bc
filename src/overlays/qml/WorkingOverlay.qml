import QtQuick
import QtQuick.Layouts
import Lumivane.Overlays

PanelSurface {
    id: root

    required property WorkingOverlayModel model

    fill: model.surface(Accessibility.reduceTransparency)
    radius: OverlayStyle.workingRadius

    SpokenValue {
        anchors.fill: parent
        label: root.model.accessibilityLabel
        value: root.model.status
        Accessible.role: Accessible.Pane
    }

    ColumnLayout {
        anchors {
            left: parent.left
            right: parent.right
            verticalCenter: parent.verticalCenter
            margins: OverlayStyle.workingPadding
        }
        spacing: OverlayStyle.workingSpacing

        OverlayText {
            text: root.model.eyebrow
            size: OverlayStyle.eyebrowSize
            weight: Font.DemiBold
            tracking: OverlayStyle.eyebrowTracking
            color: root.model.foreground
            opacity: OverlayStyle.quietOpacity
            elide: Text.ElideRight
            maximumLineCount: 1
            Layout.fillWidth: true
        }

        RowLayout {
            spacing: OverlayStyle.workingRowSpacing
            Layout.fillWidth: true

            Spinner {
                color: root.model.foreground
            }

            FittingText {
                objectName: "workingStatus"
                text: root.model.status
                fullSize: root.model.statusSize
                weight: Font.DemiBold
                minimumScale: OverlayStyle.workingMinimumScale
                color: root.model.foreground
                opacity: root.model.statusOpacity
                Layout.fillWidth: true
            }
        }
    }
}
