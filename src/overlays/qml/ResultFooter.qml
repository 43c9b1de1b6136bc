import QtQuick
import QtQuick.Layouts
import Lumivane.Overlays

RowLayout {
    id: root

    required property ResultFooterModel model
    required property color tint

    spacing: OverlayStyle.footerSpacing

    FittingText {
        text: root.model.hint
        fixedWidth: true
        fullSize: OverlayStyle.footerSize
        minimumScale: OverlayStyle.hintMinimumScale
        color: root.tint
        opacity: OverlayStyle.quietOpacity
        verticalAlignment: Text.AlignVCenter
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Layout.fillWidth: true
    }

    OverlayText {
        objectName: "resultCopied"
        visible: !root.model.offersCopy
        text: root.model.copiedText
        fixedWidth: true
        size: OverlayStyle.footerSize
        color: root.tint
        opacity: OverlayStyle.quietOpacity
        maximumLineCount: 1
        Accessible.role: Accessible.StaticText
        Accessible.name: text
        Accessible.ignored: !visible
    }

    CopyButton {
        objectName: "resultCopy"
        visible: root.model.offersCopy
        symbol: root.model.buttonSymbol
        label: root.model.buttonLabel
        help: root.model.buttonHelp
        tint: root.tint
        onActivated: root.model.copy()
    }
}
