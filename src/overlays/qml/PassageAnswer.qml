import QtQuick
import Lumivane.Overlays

ScrollArea {
    id: root

    required property ResultOverlayModel model

    tint: model.foreground
    onTapped: model.tap()

    OverlayText {
        width: root.width
        text: root.model.answer
        size: root.model.answerSize
        weight: root.model.answerWeight
        lineSpacing: root.model.answerLineSpacing
        color: root.model.foreground
        wrapMode: Text.Wrap
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
