import QtQuick
import Lumivane.Overlays

ScrollArea {
    id: root

    required property ResultOverlayModel model

    tint: model.foreground
    Accessible.role: Accessible.StaticText
    Accessible.name: model.passage

    AnswerText {
        width: root.width
        model: root.model
        enabled: false // a press is for the panel
        document.lineSpacing: root.model.answerLineSpacing
        document.plainText: root.model.passage
    }
}
