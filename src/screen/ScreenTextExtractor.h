#pragma once

#include "async/Clock.h"
#include "platform/TextRecogniser.h"
#include "screen/ScreenTextExtracting.h"
#include "screen/TextFragment.h"

#include <QImage>
#include <QThreadPool>

#include <optional>
#include <stop_token>
#include <vector>

namespace lumivane {

class ScreenImageReducer;

/// The transcript of one frame and what it was made of.
struct ScreenReading {
    ScreenText text;
    std::vector<TextFragment> fragments; ///< those accepted, in the recogniser's order
};

/// Reads the words of a frame and says how good the reading was: scales the frame for legibility,
/// has it recognised, lays the fragments out and measures the ink.
///
/// It holds no state but its collaborators, which outlive it and every job on the pool.
class ScreenTextExtractor final : public ScreenTextExtracting {
public:
    ScreenTextExtractor(TextRecogniser& recogniser, const ScreenImageReducer& reducer,
                        QThreadPool& pool, const Clock& clock);

    QCoro::Task<ScreenText> extract(QImage image, double pointPixelScale,
                                    std::stop_token stop) override;

    /// The same on the calling thread, which blocks. Any thread but the main thread of the
    /// program. Throws as `extract` does.
    ScreenReading read(const QImage& image, double pointPixelScale,
                       const std::stop_token& stop) const;

    /// Weighted by characters; 0 when there are none.
    static double meanConfidence(const std::vector<TextFragment>& fragments);

    /// The run as a fragment, its box with y growing down; none when the run has no text.
    static std::optional<TextFragment> fragment(const RecognisedRun& run);

private:
    ScreenReading readSince(MonotonicInstant begin, const QImage& image, double pointPixelScale,
                            const std::stop_token& stop) const;
    std::vector<TextFragment> recognise(const QImage& image, const std::stop_token& stop) const;
    ScreenTextSignals measure(const QString& text, const std::vector<TextFragment>& accepted,
                              const QImage& image) const;

    TextRecogniser* m_recogniser;
    const ScreenImageReducer* m_reducer;
    QThreadPool* m_pool;
    const Clock* m_clock;
};

} // namespace lumivane
