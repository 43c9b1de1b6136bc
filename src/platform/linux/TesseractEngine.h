#pragma once

#include "platform/linux/PageImage.h"
#include "platform/linux/TextRuns.h"

#include <QRect>
#include <QString>
#include <QStringList>

#include <memory>
#include <stop_token>
#include <vector>

namespace tesseract {
class TessBaseAPI;
} // namespace tesseract

namespace lumivane {

/// A stretch of one text line without a wide gap, read as a whole. Pixels of the page, y down.
struct TextSegment {
    QRect ink;  ///< what the layout pass found
    QRect area; ///< what is to be looked at: room for every ascender and descender of the line
};

/// One recogniser of the library with its languages loaded. It belongs to the thread that made it.
class TesseractEngine {
public:
    /// Loads `languages` ("eng", "deu") from the folder of data files; about 70 ms and 50 MB.
    /// Throws TextRecogniserError.
    TesseractEngine(const QString& dataFolder, const QStringList& languages);
    ~TesseractEngine();
    TesseractEngine(const TesseractEngine&) = delete;
    TesseractEngine& operator=(const TesseractEngine&) = delete;

    /// Finds the text of a page in its reading order. Takes up to a quarter of a second, in which
    /// nothing stops it.
    std::vector<TextSegment> findText(const PageImage& page);

    /// Reads one segment, words from left to right; none where it has no ink. Throws
    /// TextRecogniserError where the library fails, and Cancelled on a requested stop.
    std::vector<RecognisedWord> read(const PageImage& page, const TextSegment& segment,
                                     const std::stop_token& stop);

private:
    std::vector<RecognisedWord> wordsWithin(const TextSegment& segment);

    std::unique_ptr<tesseract::TessBaseAPI> m_api;
};

} // namespace lumivane
