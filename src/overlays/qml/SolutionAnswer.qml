import QtQuick
import Lumivane.Overlays

// The only answer whose text can be selected.
ScrollArea {
    id: root

    required property ResultOverlayModel model

    tint: model.foreground
    isDraggable: false

    Item {
        width: root.width
        height: edit.height / edit.detail

        TextEdit {
            id: edit

            readonly property int detail: OverlayStyle.detail(root.model.answerSize)

            width: parent.width * detail
            scale: 1 / detail
            transformOrigin: Item.TopLeft
            font: OverlayStyle.systemFont(root.model.answerSize, root.model.answerWeight)
            color: root.model.foreground
            selectionColor: OverlayStyle.faded(root.model.foreground, OverlayStyle.selectionOpacity)
            selectedTextColor: color
            wrapMode: TextEdit.Wrap
            readOnly: true
            selectByMouse: true
            persistentSelection: true
            activeFocusOnPress: false

            SolutionDocument {
                document: edit.textDocument
                detail: edit.detail
                text: root.model.renderedText
            }
        }
    }
}
