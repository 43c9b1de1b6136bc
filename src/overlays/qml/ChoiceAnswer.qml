import QtQuick
import Lumivane.Overlays

// A letter or two, to be read from a distance.
FittingText {
    id: root

    required property ResultOverlayModel model

    text: model.choice
    fullSize: model.answerSize
    weight: model.answerWeight
    minimumScale: OverlayStyle.choiceMinimumScale
    color: model.foreground
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
