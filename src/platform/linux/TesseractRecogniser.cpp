#include "platform/linux/TesseractRecogniser.h"

#include "async/Cancelled.h"
#include "platform/linux/PageImage.h"
#include "platform/linux/PageReading.h"

#include <memory>
#include <utility>

namespace lumivane {

TesseractRecogniser::TesseractRecogniser(QString dataFolder, QStringList languages, int workers)
    : m_workers(std::move(dataFolder), std::move(languages), workers) {}

std::vector<RecognisedRun> TesseractRecogniser::recognise(const QImage& image,
                                                          std::stop_token stop) {
    throwIfStopped(stop);
    PageImage page(image);
    if (page.isTooSmallForText()) {
        return {};
    }
    return std::make_shared<PageReading>(std::move(page), m_workers, std::move(stop))->run();
}

void TesseractRecogniser::prepare() { m_workers.warm(); }

} // namespace lumivane
