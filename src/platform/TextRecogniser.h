#pragma once

#include "domain/Geometry.h"

#include <QImage>
#include <QString>

#include <optional>
#include <stdexcept>
#include <stop_token>
#include <vector>

namespace lumivane {

/// One run of text as a recogniser reports it.
struct RecognisedRun {
    std::optional<QString> text; ///< the best candidate; none when the recogniser had no guess
    float confidence = 0;        ///< 0 to 1
    Rect box;                    ///< fractions of the image, origin at the bottom left, y up
};

/// Recognition failed; `what()` is for developers and is never logged or shown.
class TextRecogniserError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Reads the text of one image: mechanism only.
class TextRecogniser {
public:
    virtual ~TextRecogniser() = default;

    /// Blocks until the image is read; call it on a worker. May be called from several threads.
    /// A requested stop ends it within 200 ms by throwing Cancelled. Throws TextRecogniserError.
    virtual std::vector<RecognisedRun> recognise(const QImage& image, std::stop_token stop) = 0;

    /// Makes the recogniser ready ahead of its first use. Blocks; never fails.
    virtual void prepare() = 0;
};

} // namespace lumivane
