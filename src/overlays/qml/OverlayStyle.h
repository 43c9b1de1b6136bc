#pragma once

#include "overlays/ResultOverlayLayout.h"
#include "ui/identity/LumivaneTheme.h"
#include "ui/identity/PaintColor.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace lumivane {

/// Every fixed length, size, opacity and colour of the panels' views, in points; no view holds one
/// of its own. What depends on the user's settings comes from the models.
class OverlayStyle : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    // All panels.
    Q_PROPERTY(double lineWidth MEMBER lineWidth CONSTANT)
    Q_PROPERTY(double eyebrowSize MEMBER eyebrowSize CONSTANT)
    Q_PROPERTY(double eyebrowTracking MEMBER eyebrowTracking CONSTANT)
    Q_PROPERTY(double quietOpacity MEMBER quietOpacity CONSTANT)
    Q_PROPERTY(double calloutSize MEMBER calloutSize CONSTANT)
    Q_PROPERTY(double calloutOpacity MEMBER calloutOpacity CONSTANT)
    Q_PROPERTY(QColor foregroundOnFill MEMBER foregroundOnFill CONSTANT)

    // The working panel.
    Q_PROPERTY(double workingRadius MEMBER workingRadius CONSTANT)
    Q_PROPERTY(double workingPadding MEMBER workingPadding CONSTANT)
    Q_PROPERTY(double workingSpacing MEMBER workingSpacing CONSTANT)
    Q_PROPERTY(double workingRowSpacing MEMBER workingRowSpacing CONSTANT)
    Q_PROPERTY(double workingMinimumScale MEMBER workingMinimumScale CONSTANT)
    Q_PROPERTY(double spinnerSize MEMBER spinnerSize CONSTANT)
    Q_PROPERTY(int spinnerInterval MEMBER spinnerInterval CONSTANT)
    Q_PROPERTY(int calmSpinnerInterval MEMBER calmSpinnerInterval CONSTANT)

    // The result panel.
    Q_PROPERTY(double resultRadius MEMBER resultRadius CONSTANT)
    Q_PROPERTY(double resultVerticalPadding MEMBER resultVerticalPadding CONSTANT)
    Q_PROPERTY(double resultHorizontalPadding MEMBER resultHorizontalPadding CONSTANT)
    Q_PROPERTY(double headerHeight MEMBER headerHeight CONSTANT)
    Q_PROPERTY(double headerSpacing MEMBER headerSpacing CONSTANT)
    Q_PROPERTY(double headerIconSize MEMBER headerIconSize CONSTANT)
    Q_PROPERTY(double remainingSize MEMBER remainingSize CONSTANT)
    Q_PROPERTY(double headingTopMargin MEMBER headingTopMargin CONSTANT)
    Q_PROPERTY(double headingSpacing MEMBER headingSpacing CONSTANT)
    Q_PROPERTY(double headingSize MEMBER headingSize CONSTANT)
    Q_PROPERTY(int headingLines MEMBER headingLines CONSTANT)
    Q_PROPERTY(double bannerTopMargin MEMBER bannerTopMargin CONSTANT)
    Q_PROPERTY(double answerTopMargin MEMBER answerTopMargin CONSTANT)
    Q_PROPERTY(double choiceMinimumScale MEMBER choiceMinimumScale CONSTANT)
    Q_PROPERTY(double countdownTopMargin MEMBER countdownTopMargin CONSTANT)
    Q_PROPERTY(double countdownHeight MEMBER countdownHeight CONSTANT)
    Q_PROPERTY(double countdownRadius MEMBER countdownRadius CONSTANT)
    Q_PROPERTY(double footerTopMargin MEMBER footerTopMargin CONSTANT)
    Q_PROPERTY(double footerHeight MEMBER footerHeight CONSTANT)
    Q_PROPERTY(double footerSpacing MEMBER footerSpacing CONSTANT)
    Q_PROPERTY(double footerSize MEMBER footerSize CONSTANT)
    Q_PROPERTY(double hintMinimumScale MEMBER hintMinimumScale CONSTANT)
    Q_PROPERTY(QColor errorIcon MEMBER errorIcon CONSTANT)

    // The chip of a LeetCode answer's status.
    Q_PROPERTY(double chipSize MEMBER chipSize CONSTANT)
    Q_PROPERTY(double chipHorizontalPadding MEMBER chipHorizontalPadding CONSTANT)
    Q_PROPERTY(double chipVerticalPadding MEMBER chipVerticalPadding CONSTANT)

    // A text of several sizes.
    Q_PROPERTY(int finestDetail MEMBER finestDetail CONSTANT)

    // What is pressed.
    Q_PROPERTY(double symbolButtonSize MEMBER symbolButtonSize CONSTANT)
    Q_PROPERTY(double symbolButtonSymbol MEMBER symbolButtonSymbol CONSTANT)
    Q_PROPERTY(double copyButtonHeight MEMBER copyButtonHeight CONSTANT)
    Q_PROPERTY(double copyButtonPadding MEMBER copyButtonPadding CONSTANT)
    Q_PROPERTY(double copyButtonSpacing MEMBER copyButtonSpacing CONSTANT)
    Q_PROPERTY(double copyButtonRadius MEMBER copyButtonRadius CONSTANT)
    Q_PROPERTY(double copyButtonOutlineOpacity MEMBER copyButtonOutlineOpacity CONSTANT)
    Q_PROPERTY(double copyButtonSymbol MEMBER copyButtonSymbol CONSTANT)
    Q_PROPERTY(double copyButtonSize MEMBER copyButtonSize CONSTANT)
    Q_PROPERTY(double symbolButtonOpacity MEMBER symbolButtonOpacity CONSTANT)
    Q_PROPERTY(double hoveredOpacity MEMBER hoveredOpacity CONSTANT)
    Q_PROPERTY(double pressedOpacity MEMBER pressedOpacity CONSTANT)
    Q_PROPERTY(double hoveredFillOpacity MEMBER hoveredFillOpacity CONSTANT)
    Q_PROPERTY(double focusRingWidth MEMBER focusRingWidth CONSTANT)
    Q_PROPERTY(double focusRingMargin MEMBER focusRingMargin CONSTANT)
    Q_PROPERTY(QColor noColor MEMBER noColor CONSTANT)

    // What a symbol means, under the pointer that rests on it.
    Q_PROPERTY(int tipDelay MEMBER tipDelay CONSTANT)
    Q_PROPERTY(double tipSize MEMBER tipSize CONSTANT)
    Q_PROPERTY(double tipRadius MEMBER tipRadius CONSTANT)
    Q_PROPERTY(double tipHorizontalPadding MEMBER tipHorizontalPadding CONSTANT)
    Q_PROPERTY(double tipVerticalPadding MEMBER tipVerticalPadding CONSTANT)
    Q_PROPERTY(double tipMargin MEMBER tipMargin CONSTANT)
    Q_PROPERTY(double tipDistance MEMBER tipDistance CONSTANT)
    Q_PROPERTY(QColor tipFill MEMBER tipFill CONSTANT)
    Q_PROPERTY(QColor tipOutline MEMBER tipOutline CONSTANT)
    Q_PROPERTY(QColor tipText MEMBER tipText CONSTANT)

    // What scrolls.
    Q_PROPERTY(double wheelStep MEMBER wheelStep CONSTANT)
    Q_PROPERTY(double wheelNotch MEMBER wheelNotch CONSTANT)
    Q_PROPERTY(double indicatorWidth MEMBER indicatorWidth CONSTANT)
    Q_PROPERTY(double indicatorMargin MEMBER indicatorMargin CONSTANT)
    Q_PROPERTY(double indicatorMinimumLength MEMBER indicatorMinimumLength CONSTANT)
    Q_PROPERTY(double indicatorOpacity MEMBER indicatorOpacity CONSTANT)
    Q_PROPERTY(double indicatorPressedOpacity MEMBER indicatorPressedOpacity CONSTANT)
    Q_PROPERTY(double selectionOpacity MEMBER selectionOpacity CONSTANT)

    // What is said of a note that was not saved.
    Q_PROPERTY(double notesRadius MEMBER notesRadius CONSTANT)
    Q_PROPERTY(double notesPadding MEMBER notesPadding CONSTANT)
    Q_PROPERTY(double notesSpacing MEMBER notesSpacing CONSTANT)
    Q_PROPERTY(double notesLineSpacing MEMBER notesLineSpacing CONSTANT)
    Q_PROPERTY(double notesEyebrowSize MEMBER notesEyebrowSize CONSTANT)
    Q_PROPERTY(double notesIconSize MEMBER notesIconSize CONSTANT)
    Q_PROPERTY(double bannerRadius MEMBER bannerRadius CONSTANT)
    Q_PROPERTY(double bannerPadding MEMBER bannerPadding CONSTANT)
    Q_PROPERTY(double bannerSpacing MEMBER bannerSpacing CONSTANT)
    Q_PROPERTY(double bannerIconSize MEMBER bannerIconSize CONSTANT)
    Q_PROPERTY(QColor notesFill MEMBER notesFill CONSTANT)
    Q_PROPERTY(QColor notesOutline MEMBER notesOutline CONSTANT)
    Q_PROPERTY(QColor notesIcon MEMBER notesIcon CONSTANT)

    // The panels that ask for the account.
    Q_PROPERTY(double accountRadius MEMBER accountRadius CONSTANT)
    Q_PROPERTY(double accountPadding MEMBER accountPadding CONSTANT)
    Q_PROPERTY(double accountSpacing MEMBER accountSpacing CONSTANT)
    Q_PROPERTY(double accountLineSpacing MEMBER accountLineSpacing CONSTANT)
    Q_PROPERTY(double accountIconSize MEMBER accountIconSize CONSTANT)
    Q_PROPERTY(double accountEyebrowSize MEMBER accountEyebrowSize CONSTANT)
    Q_PROPERTY(double accountHeadlineSize MEMBER accountHeadlineSize CONSTANT)
    Q_PROPERTY(double accountBodySize MEMBER accountBodySize CONSTANT)
    Q_PROPERTY(double accountBodyOpacity MEMBER accountBodyOpacity CONSTANT)
    Q_PROPERTY(double accountMinimumScale MEMBER accountMinimumScale CONSTANT)
    Q_PROPERTY(QColor accountIcon MEMBER accountIcon CONSTANT)
    Q_PROPERTY(QColor accountFill MEMBER accountFill CONSTANT)
    Q_PROPERTY(QColor accountOutline MEMBER accountOutline CONSTANT)
    Q_PROPERTY(double buttonMargin MEMBER buttonMargin CONSTANT)
    Q_PROPERTY(double buttonHeight MEMBER buttonHeight CONSTANT)
    Q_PROPERTY(double buttonPadding MEMBER buttonPadding CONSTANT)
    Q_PROPERTY(double buttonMinimumWidth MEMBER buttonMinimumWidth CONSTANT)
    Q_PROPERTY(double buttonSpacing MEMBER buttonSpacing CONSTANT)
    Q_PROPERTY(double buttonRadius MEMBER buttonRadius CONSTANT)
    Q_PROPERTY(double buttonSize MEMBER buttonSize CONSTANT)
    Q_PROPERTY(QColor buttonFill MEMBER buttonFill CONSTANT)
    Q_PROPERTY(QColor buttonOutline MEMBER buttonOutline CONSTANT)
    Q_PROPERTY(QColor defaultButtonFill MEMBER defaultButtonFill CONSTANT)
    Q_PROPERTY(QColor defaultButtonText MEMBER defaultButtonText CONSTANT)

public:
    /// The toolkit rounds the size of every font to a whole number. A text is therefore laid out
    /// at `detail(size)` times its size and shown smaller by as much.
    Q_INVOKABLE int detail(double size) const;

    /// The system's fonts at `detail(size)` times `size`. `weight` is on the field's scale of 1
    /// to 1000, `tracking` is the extra space behind each letter.
    Q_INVOKABLE QFont systemFont(double size, int weight, double tracking = 0) const;
    /// At a detail of the caller's, for a text whose parts have sizes of their own.
    Q_INVOKABLE QFont systemFontAt(int detail, double size, int weight) const;
    Q_INVOKABLE QFont fixedFont(double size, int weight) const;

    /// The largest size, in eighths of a point from `size` down to its `minimumScale` share, at
    /// which `text` fits into one line of `width`; that share where none does.
    Q_INVOKABLE double sizeInLine(const QString& text, const QFont& font, double size,
                                  double minimumScale, double width) const;

    /// The same for text that wraps at words into a box.
    Q_INVOKABLE double sizeInBox(const QString& text, const QFont& font, double size,
                                 double minimumScale, double width, double height) const;

    /// The width of one line of `text` in `font`, which is of `size`.
    Q_INVOKABLE double lineWidthOf(const QString& text, const QFont& font, double size) const;

    Q_INVOKABLE QColor faded(QColor color, double opacity) const;

private:
    const int finestDetail = 8; ///< a size is off by a sixteenth of a point at most
    const double lineWidth = 1;
    const double eyebrowSize = 9.5;
    const double eyebrowTracking = 1.33;
    const double quietOpacity = 0.6;
    const double calloutSize = 12;
    const double calloutOpacity = 0.75;
    const QColor foregroundOnFill{Qt::white};

    const double workingRadius = 13;
    const double workingPadding = 22;
    const double workingSpacing = 8;
    const double workingRowSpacing = 12;
    const double workingMinimumScale = 0.85;
    const double spinnerSize = 16;
    const int spinnerInterval = 83;      ///< milliseconds; a turn a second
    const int calmSpinnerInterval = 500; ///< under Reduce Motion

    const double resultRadius = ResultOverlayLayout::cornerRadius;
    const double resultVerticalPadding = ResultOverlayLayout::verticalPadding;
    const double resultHorizontalPadding = ResultOverlayLayout::horizontalPadding;
    const double headerHeight = ResultOverlayLayout::headerHeight;
    const double headerSpacing = 8;
    const double headerIconSize = 12;
    const double remainingSize = 10;
    const double headingTopMargin = 12;
    const double headingSpacing = 6;
    const double headingSize = 17;
    const int headingLines = 3;
    const double bannerTopMargin = 12;
    const double answerTopMargin = ResultOverlayLayout::answerTopMargin;
    const double choiceMinimumScale = 0.35;
    const double countdownTopMargin = ResultOverlayLayout::countdownTopMargin;
    const double countdownHeight = ResultOverlayLayout::countdownHeight;
    const double countdownRadius = 1;
    const double footerTopMargin = ResultOverlayLayout::footerTopMargin;
    const double footerHeight = ResultOverlayLayout::footerHeight;
    const double footerSpacing = 12;
    const double footerSize = 10;
    const double hintMinimumScale = 0.7875;
    const QColor errorIcon{0xFF, 0xD6, 0x0A};

    const double chipSize = 10;
    const double chipHorizontalPadding = 8;
    const double chipVerticalPadding = 3;

    const double symbolButtonSize = 24;
    const double symbolButtonSymbol = 16;
    const double copyButtonHeight = 22;
    const double copyButtonPadding = 8;
    const double copyButtonSpacing = 5;
    const double copyButtonRadius = 6;
    const double copyButtonOutlineOpacity = 0.35;
    const double copyButtonSymbol = 12;
    const double copyButtonSize = 9;
    const double symbolButtonOpacity = 0.7; ///< at rest
    const double hoveredOpacity = 0.85;
    const double pressedOpacity = 0.55;
    const double hoveredFillOpacity = 0.12;
    const double focusRingWidth = 2;
    const double focusRingMargin = 2;
    const QColor noColor{Qt::transparent};

    const int tipDelay = 600; ///< milliseconds
    const double tipSize = 11;
    const double tipRadius = 5;
    const double tipHorizontalPadding = 7;
    const double tipVerticalPadding = 3;
    const double tipMargin = 6;   ///< to the edges of the panel
    const double tipDistance = 4; ///< to what it speaks of
    const QColor tipFill = paintColor(LumivaneTheme::surfaceControl.dark);
    const QColor tipOutline = paintColor(LumivaneTheme::surfaceControlBorder.dark);
    const QColor tipText = paintColor(LumivaneTheme::textPrimary.dark);

    const double wheelStep = 60;   ///< for each notch of the wheel
    const double wheelNotch = 120; ///< what the toolkit counts for one
    const double indicatorWidth = 4;
    const double indicatorMargin = 6;
    const double indicatorMinimumLength = 24;
    const double indicatorOpacity = 0.35;
    const double indicatorPressedOpacity = 0.6;
    const double selectionOpacity = 0.3;

    const double notesRadius = 13;
    const double notesPadding = 18;
    const double notesSpacing = 14;
    const double notesLineSpacing = 6;
    const double notesEyebrowSize = 11;
    const double notesIconSize = 24;
    const double bannerRadius = 9;
    const double bannerPadding = 12;
    const double bannerSpacing = 10;
    const double bannerIconSize = 18;
    const QColor notesFill = QColor::fromRgbF(0.25F, 0.12F, 0.04F, 0.98F);
    const QColor notesOutline = QColor::fromRgbF(1.0F, 0.62F, 0.04F, 0.7F);
    const QColor notesIcon = QColor::fromRgbF(1.0F, 0.62F, 0.04F);

    const double accountRadius = 14;
    const double accountPadding = 22;
    const double accountSpacing = 8;
    const double accountLineSpacing = 6;
    const double accountIconSize = 20;
    const double accountEyebrowSize = 12;
    const double accountHeadlineSize = 16;
    const double accountBodySize = 13;
    const double accountBodyOpacity = 0.78;
    const double accountMinimumScale = 0.75;
    const QColor accountIcon = paintColor(LumivaneTheme::accentFill.dark);
    const QColor accountFill = QColor::fromRgbF(0.08F, 0.09F, 0.12F, 0.98F);
    const QColor accountOutline = QColor::fromRgbF(1, 1, 1, 0.16F);
    const double buttonMargin = 1; ///< around what is drawn
    const double buttonHeight = 28;
    const double buttonPadding = 16;
    const double buttonMinimumWidth = 84;
    const double buttonSpacing = 10;
    const double buttonRadius = 7;
    const double buttonSize = 13;
    const QColor buttonFill = QColor::fromRgbF(1, 1, 1, 0.1F);
    const QColor buttonOutline = QColor::fromRgbF(1, 1, 1, 0.2F);
    const QColor defaultButtonFill = paintColor(LumivaneTheme::accentFill.dark);
    const QColor defaultButtonText = paintColor(LumivaneTheme::accentOnFill.dark);
};

} // namespace lumivane
