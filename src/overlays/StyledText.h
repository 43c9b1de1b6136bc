#pragma once

#include <QMetaType>
#include <QString>

#include <vector>

namespace lumivane {

/// A stretch of text in one style.
struct StyledRun {
    enum class Weight { regular, bold, heavy };

    QString text;
    double pointSize = 0; ///< 0: the size of the view's own font
    Weight weight = Weight::regular;
    bool isStrong = false; ///< marked up as strong inside its line
    bool isEmphasized = false;
    bool isCode = false;
    bool isStruckThrough = false;

    bool operator==(const StyledRun&) const = default;
};

/// A text whose stretches carry styles; lines are ended by "\n" inside the runs.
struct StyledText {
    std::vector<StyledRun> runs;

    QString plainText() const {
        QString text;
        for (const StyledRun& run : runs) {
            text += run.text;
        }
        return text;
    }

    bool operator==(const StyledText&) const = default;
};

} // namespace lumivane

Q_DECLARE_METATYPE(lumivane::StyledText)
