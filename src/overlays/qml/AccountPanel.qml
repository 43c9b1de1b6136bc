import QtQuick
import QtQuick.Layouts
import Lumivane.Identity
import Lumivane.Overlays

PanelSurface {
    id: root

    required property AccountPanelModel model

    objectName: model.identifier
    fill: OverlayStyle.accountFill
    outline: OverlayStyle.accountOutline
    lineWidth: OverlayStyle.lineWidth
    radius: OverlayStyle.accountRadius
    Accessible.role: Accessible.Dialog
    Accessible.name: model.spoken !== "" ? model.spoken : model.headline

    Shortcut {
        sequences: ["Return", "Enter"]
        onActivated: root.model.act()
    }

    Shortcut {
        sequence: "Escape"
        onActivated: root.model.dismiss()
    }

    RowLayout {
        anchors {
            fill: parent
            margins: OverlayStyle.accountPadding
        }
        spacing: OverlayStyle.accountSpacing

        Symbol {
            name: root.model.symbol
            color: OverlayStyle.defaultButtonFill
            Layout.alignment: Qt.AlignTop
            Layout.preferredWidth: OverlayStyle.accountIconSize
            Layout.preferredHeight: OverlayStyle.accountIconSize
        }

        ColumnLayout {
            spacing: OverlayStyle.accountLineSpacing

            OverlayText {
                text: root.model.eyebrow
                size: OverlayStyle.accountEyebrowSize
                weight: Font.Bold
                color: OverlayStyle.foregroundOnFill
                elide: Text.ElideRight
                Layout.fillWidth: true
            }

            OverlayText {
                text: root.model.headline
                size: OverlayStyle.accountHeadlineSize
                weight: Font.DemiBold
                color: OverlayStyle.foregroundOnFill
                elide: Text.ElideRight
                Layout.fillWidth: true
            }

            OverlayText {
                text: root.model.body
                size: OverlayStyle.accountBodySize
                color: OverlayStyle.foregroundOnFill
                opacity: OverlayStyle.accountBodyOpacity
                wrapMode: Text.Wrap
                Layout.fillWidth: true
                Layout.fillHeight: true
            }

            RowLayout {
                spacing: OverlayStyle.buttonSpacing
                Layout.alignment: Qt.AlignRight

                PanelButton {
                    objectName: root.model.dismissIdentifier
                    label: root.model.dismissLabel
                    onActivated: root.model.dismiss()
                }

                PanelButton {
                    objectName: root.model.actionIdentifier
                    label: root.model.actionLabel
                    isDefault: true
                    onActivated: root.model.act()
                }
            }
        }
    }
}
