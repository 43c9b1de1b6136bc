import QtQuick
import QtQuick.Layouts
import Lumivane.Identity
import Lumivane.Overlays

PanelSurface {
    id: root

    required property NotesStatusModel model

    fill: OverlayStyle.notesFill
    outline: OverlayStyle.notesOutline
    lineWidth: OverlayStyle.lineWidth
    radius: OverlayStyle.notesRadius
    Accessible.role: Accessible.AlertMessage
    Accessible.name: model.label
    Accessible.description: model.message

    RowLayout {
        anchors {
            fill: parent
            margins: OverlayStyle.notesPadding
        }
        spacing: OverlayStyle.notesSpacing

        Symbol {
            name: root.model.symbol
            color: OverlayStyle.notesIcon
            Layout.preferredWidth: OverlayStyle.notesIconSize
            Layout.preferredHeight: OverlayStyle.notesIconSize
        }

        ColumnLayout {
            spacing: OverlayStyle.notesLineSpacing
            Layout.fillHeight: false
            Layout.maximumHeight: root.height - 2 * OverlayStyle.notesPadding

            OverlayText {
                text: root.model.eyebrow
                size: OverlayStyle.notesEyebrowSize
                weight: Font.DemiBold
                color: OverlayStyle.foregroundOnFill
                elide: Text.ElideRight
                Layout.fillWidth: true
            }

            OverlayText {
                text: root.model.message
                size: OverlayStyle.calloutSize
                color: OverlayStyle.foregroundOnFill
                opacity: OverlayStyle.calloutOpacity
                wrapMode: Text.Wrap
                elide: Text.ElideRight
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.maximumHeight: implicitHeight
            }
        }

        SymbolButton {
            objectName: "notesStatusDismiss"
            symbol: "xmark.circle.fill"
            label: root.model.dismissLabel
            color: OverlayStyle.foregroundOnFill
            onActivated: root.model.dismiss()
            Layout.alignment: Qt.AlignTop
        }
    }
}
