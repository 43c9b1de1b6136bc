import QtQuick
import Lumivane.Overlays

Rectangle {
    id: root

    property alias text: word.text
    property alias textColor: word.color

    implicitWidth: word.implicitWidth + 2 * OverlayStyle.chipHorizontalPadding
    implicitHeight: word.implicitHeight + 2 * OverlayStyle.chipVerticalPadding
    radius: height / 2
    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.ignored: !visible

    OverlayText {
        id: word

        anchors.centerIn: parent
        size: OverlayStyle.chipSize
        weight: Font.DemiBold
    }
}
