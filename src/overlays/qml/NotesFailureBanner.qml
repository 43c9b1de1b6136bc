import QtQuick
import QtQuick.Layouts
import Lumivane.Identity
import Lumivane.Overlays

PanelSurface {
    id: root

    property alias message: words.text
    property alias symbol: icon.name
    property string label
    property string dismissLabel

    signal dismissed()

    implicitHeight: row.implicitHeight + 2 * OverlayStyle.bannerPadding
    fill: OverlayStyle.notesFill
    outline: OverlayStyle.notesOutline
    lineWidth: OverlayStyle.lineWidth
    radius: OverlayStyle.bannerRadius
    Accessible.role: Accessible.AlertMessage
    Accessible.name: label
    Accessible.description: message

    RowLayout {
        id: row

        anchors {
            fill: parent
            margins: OverlayStyle.bannerPadding
        }
        spacing: OverlayStyle.bannerSpacing

        Symbol {
            id: icon

            color: OverlayStyle.notesIcon
            Layout.preferredWidth: OverlayStyle.bannerIconSize
            Layout.preferredHeight: OverlayStyle.bannerIconSize
        }

        OverlayText {
            id: words

            size: OverlayStyle.calloutSize
            color: OverlayStyle.foregroundOnFill
            wrapMode: Text.Wrap
            Layout.fillWidth: true
        }

        SymbolButton {
            objectName: "notesBannerDismiss"
            symbol: "xmark.circle.fill"
            label: root.dismissLabel
            color: OverlayStyle.foregroundOnFill
            onActivated: root.dismissed()
        }
    }
}
