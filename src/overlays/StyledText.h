#pragma once

#include <QMetaType>
#include <QString>

#include <utility>
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

    bool hasStyleOf(const StyledRun& other) const {
        return pointSize == other.pointSize && weight == other.weight &&
               isStrong == other.isStrong && isEmphasized == other.isEmphasized &&
               isCode == other.isCode && isStruckThrough == other.isStruckThrough;
    }
};

/// A text whose stretches carry styles; lines are ended by "\n" inside the runs. A stretch may span
/// several lines.
struct StyledText {
    std::vector<StyledRun> runs;

    bool isEmpty() const { return runs.empty(); }

    /// Adds a stretch, to the last one where the style is the same; an empty one adds nothing.
    void append(StyledRun run) {
        if (run.text.isEmpty()) {
            return;
        }
        if (!runs.empty() && runs.back().hasStyleOf(run)) {
            runs.back().text += run.text;
        } else {
            runs.push_back(std::move(run));
        }
    }

    void append(StyledText text) {
        for (StyledRun& run : text.runs) {
            append(std::move(run));
        }
    }

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
