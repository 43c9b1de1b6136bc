import QtQuick
import QtQuick.Layouts
import Lumivane.Overlays

ColumnLayout {
    id: root

    required property ResultOverlayModel model

    spacing: OverlayStyle.headingSpacing

    OverlayText {
        text: root.model.heading
        size: OverlayStyle.headingSize
        weight: Font.DemiBold
        color: root.model.foreground
        wrapMode: Text.Wrap
        maximumLineCount: OverlayStyle.headingLines
        elide: Text.ElideRight
        Accessible.role: Accessible.Heading
        Accessible.name: text
        Layout.fillWidth: true
    }

    LeetCodeStatusChip {
        visible: root.model.statusLabel !== ""
        text: root.model.statusLabel
        textColor: root.model.statusColor
        color: root.model.statusChipColor
    }
}
