import QtQuick
import Lumivane.Overlays

// An answer of any length and script, in any size, fractions included.
Item {
    id: root

    required property ResultOverlayModel model
    readonly property alias document: content
    property alias selectByMouse: field.selectByMouse
    // Of the text, where nothing around it speaks for it.
    property string spokenName
    // Headings are shares of the answer's size.
    readonly property int detail: model.isLeetCode ? OverlayStyle.finestDetail
                                                   : OverlayStyle.detail(model.answerSize)

    // The end of the selection, which a drag moves.
    signal selectionGrew(top: real, bottom: real)

    // The last line has none behind it.
    implicitHeight: Math.ceil(field.implicitHeight / detail - content.lineSpacing)

    TextEdit {
        id: field

        objectName: "answerText"
        width: root.width * root.detail
        scale: 1 / root.detail
        transformOrigin: Item.TopLeft
        font: OverlayStyle.systemFontAt(root.detail, root.model.answerSize,
                                        root.model.answerWeight)
        color: root.model.foreground
        selectionColor: OverlayStyle.faded(color, OverlayStyle.selectionOpacity)
        selectedTextColor: color
        wrapMode: TextEdit.Wrap
        readOnly: true
        selectByMouse: false
        persistentSelection: true
        activeFocusOnPress: false
        Accessible.role: Accessible.EditableText
        Accessible.name: root.spokenName
        Accessible.readOnly: true
        Accessible.ignored: root.spokenName === ""
        onCursorRectangleChanged: {
            if (selectionStart !== selectionEnd) {
                root.selectionGrew(cursorRectangle.y / root.detail,
                                   (cursorRectangle.y + cursorRectangle.height) / root.detail);
            }
        }
    }

    StyledDocument {
        id: content

        document: field.textDocument
        detail: root.detail
        codeBackground: root.model.codeBackground
        onWritten: field.cursorPosition = 0
    }
}
