import QtQuick
import QtQuick.Layouts
import Lumivane.Identity
import Lumivane.Overlays

RowLayout {
    id: root

    required property ResultOverlayModel model

    spacing: OverlayStyle.headerSpacing

    Item {
        Layout.preferredWidth: OverlayStyle.headerIconSize
        Layout.preferredHeight: OverlayStyle.headerIconSize

        Symbol {
            anchors.fill: parent
            visible: root.model.isError
            name: "exclamationmark.triangle.fill"
            color: OverlayStyle.errorIcon
        }

        MonochromeMark {
            anchors.fill: parent
            visible: !root.model.isError
            color: root.model.foreground
            opacity: OverlayStyle.quietOpacity
        }
    }

    OverlayText {
        objectName: "resultTitle"
        text: root.model.title
        size: OverlayStyle.eyebrowSize
        weight: Font.DemiBold
        tracking: OverlayStyle.eyebrowTracking
        color: root.model.foreground
        opacity: OverlayStyle.quietOpacity
        maximumLineCount: 1
        elide: Text.ElideRight
        Layout.fillWidth: true
        Layout.maximumWidth: implicitWidth
    }

    Item {
        Layout.minimumWidth: OverlayStyle.headerSpacing
        Layout.fillWidth: true
    }

    OverlayText {
        objectName: "remaining"
        text: root.model.remainingLabel
        size: OverlayStyle.remainingSize
        color: root.model.foreground
        opacity: OverlayStyle.quietOpacity
        maximumLineCount: 1
        Accessible.role: Accessible.StaticText
        Accessible.name: root.model.remainingAccessibilityLabel
    }

    SymbolButton {
        objectName: "resultClose"
        visible: root.model.isLeetCode
        symbol: "xmark.circle.fill"
        label: root.model.closeHelp
        color: root.model.foreground
        onActivated: root.model.dismiss()
    }
}
