import QtQuick
import QtQuick.Layouts
import Lumivane.Identity
import Lumivane.Overlays

PanelSurface {
    id: root

    required property AccountPanelModel model
    // A panel that is spoken as a whole is not read line by line as well.
    readonly property bool isReadInLines: model.spoken === ""

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

    ColumnLayout {
        anchors {
            fill: parent
            margins: OverlayStyle.accountPadding
        }
        spacing: OverlayStyle.accountLineSpacing

        RowLayout {
            spacing: OverlayStyle.accountSpacing

            Symbol {
                name: root.model.symbol
                color: OverlayStyle.accountIcon
                Layout.preferredWidth: OverlayStyle.accountIconSize
                Layout.preferredHeight: OverlayStyle.accountIconSize
            }

            OverlayText {
                text: root.model.eyebrow
                size: OverlayStyle.accountEyebrowSize
                weight: Font.Bold
                color: OverlayStyle.foregroundOnFill
                maximumLineCount: 1
                elide: Text.ElideRight
                Accessible.role: Accessible.StaticText
                Accessible.name: text
                Accessible.ignored: !root.isReadInLines
                Layout.fillWidth: true
            }
        }

        FittingText {
            text: root.model.headline
            fullSize: OverlayStyle.accountHeadlineSize
            weight: Font.DemiBold
            minimumScale: OverlayStyle.accountMinimumScale
            color: OverlayStyle.foregroundOnFill
            Accessible.role: Accessible.Heading
            Accessible.name: text
            Accessible.ignored: !root.isReadInLines
            Layout.fillWidth: true
        }

        OverlayText {
            text: root.model.body
            size: OverlayStyle.sizeInBox(text, OverlayStyle.systemFont(OverlayStyle.accountBodySize,
                                                                       weight),
                                         OverlayStyle.accountBodySize,
                                         OverlayStyle.accountMinimumScale, width, height)
            color: OverlayStyle.foregroundOnFill
            opacity: OverlayStyle.accountBodyOpacity
            wrapMode: Text.Wrap
            // The room decides its size, not the other way round.
            implicitHeight: 0
            Accessible.role: Accessible.StaticText
            Accessible.name: text
            Accessible.ignored: !root.isReadInLines
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
