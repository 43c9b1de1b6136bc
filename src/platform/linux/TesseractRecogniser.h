#pragma once

#include "platform/TextRecogniser.h"
#include "platform/linux/RecognitionWorkers.h"

#include <QString>
#include <QStringList>

namespace lumivane {

/// Reads text with Tesseract: one layout pass, whose lines two recognisers share out.
///
/// The recognisers are loaded by the first call (or `prepare`) and stay, about 50 MB each. Pages
/// read at the same time share them in turn. Runs come in the order of the layout pass. When a
/// call is stopped it returns at once, and the recognisers are free again within one layout pass.
class TesseractRecogniser final : public TextRecogniser {
public:
    static constexpr int defaultWorkers = 2;

    /// `languages` are names of data files ("eng", "deu") in `dataFolder`; see
    /// RecognitionLanguages. What is missing there shows when the first page is read.
    TesseractRecogniser(QString dataFolder, QStringList languages, int workers = defaultWorkers);

    std::vector<RecognisedRun> recognise(const QImage& image, std::stop_token stop) override;
    void prepare() override;

private:
    RecognitionWorkers m_workers;
};

} // namespace lumivane
