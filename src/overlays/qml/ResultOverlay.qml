import QtQuick
import QtQuick.Layouts
import Lumivane.Overlays

// The optional parts are components of their own, which the linter takes for unbound.
// qmllint disable unqualified
PanelSurface {
    id: root

    required property ResultOverlayModel model

    fill: model.surface(Accessibility.reduceTransparency)
    outline: model.outline
    lineWidth: OverlayStyle.lineWidth
    radius: OverlayStyle.resultRadius
    Accessible.role: Accessible.Grouping
    Accessible.name: model.spokenTitle
    Accessible.description: model.accessibilityHint

    TapHandler {
        onTapped: root.model.tap()
    }

    HoverHandler {
        onHoveredChanged: root.model.hover(hovered)
    }

    ColumnLayout {
        id: column

        anchors {
            fill: parent
            topMargin: OverlayStyle.resultVerticalPadding
            bottomMargin: OverlayStyle.resultVerticalPadding
            leftMargin: OverlayStyle.resultHorizontalPadding
            rightMargin: OverlayStyle.resultHorizontalPadding
        }
        spacing: 0

        ResultHeader {
            model: root.model
            Layout.fillWidth: true
            Layout.preferredHeight: OverlayStyle.headerHeight
            Layout.maximumHeight: OverlayStyle.headerHeight
        }

        Loader {
            active: root.model.isLeetCode
            visible: active
            Layout.fillWidth: true
            Layout.topMargin: OverlayStyle.headingTopMargin
            sourceComponent: SolutionHeading {
                model: root.model
            }
        }

        Loader {
            active: root.model.hasNotesFailure
            visible: active
            Layout.fillWidth: true
            Layout.topMargin: OverlayStyle.bannerTopMargin
            sourceComponent: NotesFailureBanner {
                message: root.model.notesFailure
                symbol: root.model.notesFailureSymbol
                label: root.model.notesFailureLabel
                dismissLabel: root.model.notesDismissLabel
                onDismissed: root.model.dismissNotesFailure()
            }
        }

        Loader {
            // A long answer is laid out once, at its width.
            active: width > 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: OverlayStyle.answerTopMargin
            sourceComponent: root.model.isChoice ? choice
                                                 : root.model.isLeetCode ? solution : passage

            Component {
                id: choice

                ChoiceAnswer {
                    model: root.model
                }
            }

            Component {
                id: solution

                SolutionAnswer {
                    model: root.model
                }
            }

            Component {
                id: passage

                PassageAnswer {
                    model: root.model
                }
            }
        }

        Loader {
            id: bar

            active: root.model.countdown !== null
            visible: active
            Layout.fillWidth: true
            Layout.preferredHeight: OverlayStyle.countdownHeight
            Layout.topMargin: OverlayStyle.countdownTopMargin
            sourceComponent: CountdownBar {
                model: root.model.countdown
                origin: Qt.point(column.x + bar.x, column.y + bar.y)
                surface: root.fill
            }
        }

        ResultFooter {
            model: root.model.footer
            tint: root.model.foreground
            Layout.fillWidth: true
            Layout.topMargin: OverlayStyle.footerTopMargin
            Layout.preferredHeight: OverlayStyle.footerHeight
            Layout.maximumHeight: OverlayStyle.footerHeight
        }
    }
}
