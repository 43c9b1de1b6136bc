import QtQuick
import Lumivane.Overlays

// The only answer whose text can be selected.
ScrollArea {
    id: root

    required property ResultOverlayModel model

    tint: model.foreground
    isDraggable: false

    AnswerText {
        id: answer

        width: root.width
        model: root.model
        selectByMouse: true
        spokenName: root.model.spokenTitle
        document.text: root.model.renderedText // qmllint disable
        onSelectionGrew: (top, bottom) => root.reveal(top, bottom)
    }
}
