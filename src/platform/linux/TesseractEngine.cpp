#include "platform/linux/TesseractEngine.h"

#include "async/Cancelled.h"
#include "platform/linux/RecognitionLanguages.h"

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>

#include <algorithm>
#include <cmath>
#include <mutex>

// Declared here, since its header belongs to one compiler while the runtime is that of the library.
extern "C" void omp_set_max_active_levels(int levels);

namespace lumivane {

namespace {

using tesseract::PageIterator;

// A gap of more line heights than this parts a line in two before it is read: the library itself
// reads no further than that in one go, and empty stretches cost as much time as text.
constexpr int segmentGapLineHeights = 2;
// Longer stretches are parted at the next word, so that a stop is seen in time.
constexpr int longestSegmentLineHeights = 80;
// Room around a segment. Less above and below makes the letters larger for the recogniser, but
// slower to read; a stretch of a few letters wants room beside it, where a long one would have
// specks read into it. These read small type best.
constexpr int roomAboveShare = 9;           // of the line's height
constexpr int shortSegmentLineHeights = 20; // up to this width a segment has half a line beside it
constexpr int roomBesideLongSegment = 3;    // pixels

QRect boxOf(const PageIterator& at, tesseract::PageIteratorLevel level) {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
    if (!at.BoundingBox(level, &left, &top, &right, &bottom)) {
        return {};
    }
    return {left, top, right - left, bottom - top};
}

int rightOf(const QRect& box) { return box.x() + box.width(); }

double baselineAt(const PageIterator& at, double x) {
    int x1 = 0;
    int y1 = 0;
    int x2 = 0;
    int y2 = 0;
    at.Baseline(tesseract::RIL_TEXTLINE, &x1, &y1, &x2, &y2);
    const double slope = x2 > x1 ? static_cast<double>(y2 - y1) / (x2 - x1) : 0;
    return y1 + slope * (x - x1);
}

QRect areaAround(const PageIterator& at, const QRect& ink) {
    float rowHeight = 0;
    float descenders = 0; // below 0
    float ascenders = 0;
    at.RowAttributes(&rowHeight, &descenders, &ascenders);
    const double baseline = baselineAt(at, ink.x() + ink.width() / 2.0);
    const int top = std::min(ink.y(), static_cast<int>(baseline - rowHeight - descenders));
    const int bottom =
        std::max(ink.y() + ink.height(), static_cast<int>(std::ceil(baseline - descenders)));
    const int height = bottom - top;
    const bool isShort = ink.width() < shortSegmentLineHeights * height;
    const int beside = isShort ? height / 2 : roomBesideLongSegment;
    const int above = std::max(1, height / roomAboveShare);
    return QRect(ink.x(), top, ink.width(), height).adjusted(-beside, -above, beside, above);
}

/// Gathers the words of the layout pass into segments.
class SegmentCollector {
public:
    void add(const PageIterator& at) {
        const QRect line = boxOf(at, tesseract::RIL_TEXTLINE);
        // Words made of specks alone have boxes that mean nothing.
        const QRect word = boxOf(at, tesseract::RIL_WORD).intersected(line);
        if (word.isEmpty()) {
            return;
        }
        const bool beginsLine = at.IsAtBeginningOf(tesseract::RIL_TEXTLINE);
        if (m_segments.empty() || beginsLine || !continues(word, line.height())) {
            m_segments.push_back({});
        }
        TextSegment& segment = m_segments.back();
        segment.ink = segment.ink.united(word);
        segment.area = areaAround(at, segment.ink);
    }

    std::vector<TextSegment> take() { return std::move(m_segments); }

private:
    bool continues(const QRect& word, int lineHeight) const {
        const QRect& ink = m_segments.back().ink;
        return word.x() - rightOf(ink) <= segmentGapLineHeights * lineHeight &&
               rightOf(word) - ink.x() <= longestSegmentLineHeights * lineHeight;
    }

    std::vector<TextSegment> m_segments;
};

/// True for words of the lines above and below, whose edges the area may show.
bool liesBeside(const QRect& box, const QRect& ink) {
    return box.y() + box.height() <= ink.y() || box.y() >= ink.y() + ink.height();
}

/// The box of a word within the ink. Where the library knows none, the word stands behind the
/// last one.
QRect heldTo(const QRect& box, const QRect& ink, const std::vector<RecognisedWord>& words) {
    const QRect held = box.intersected(ink);
    if (!held.isEmpty()) {
        return held;
    }
    return {words.empty() ? ink.x() : rightOf(words.back().box), ink.y(), 0, ink.height()};
}

bool stopRequested(void* stop, int) {
    return static_cast<const std::stop_token*>(stop)->stop_requested();
}

void requireData(const QString& dataFolder, const QStringList& languages) {
    if (languages.isEmpty()) {
        throw TextRecogniserError("no language is given");
    }
    for (const QString& language : languages) {
        if (!RecognitionLanguages::isInstalled(dataFolder, language)) {
            throw TextRecogniserError("recognition data is missing");
        }
    }
}

/// The library's messages have no place to go. The setting is one for the whole process.
void silence(tesseract::TessBaseAPI& api) {
    static std::once_flag once;
    std::call_once(once, [&api] {
        api.SetVariable("debug_file", "/dev/null");
        setMsgSeverity(L_SEVERITY_NONE);
    });
}

} // namespace

TesseractEngine::TesseractEngine(const QString& dataFolder, const QStringList& languages)
    : m_api(std::make_unique<tesseract::TessBaseAPI>()) {
    requireData(dataFolder, languages);
    // Threads of the library's own make it slower here, and only this keeps them from starting.
    omp_set_max_active_levels(0);
    silence(*m_api);
    if (m_api->Init(dataFolder.toUtf8().constData(), languages.join(u'+').toUtf8().constData(),
                    tesseract::OEM_LSTM_ONLY) != 0) {
        throw TextRecogniserError("recognition data cannot be loaded");
    }
    // Pages and lines come as dark on light already; a second try would only cost time.
    m_api->SetVariable("tessedit_do_invert", "0");
    // 96 dots per inch at the 1.5 pixels per point at which frames are read.
    m_api->SetVariable("user_defined_dpi", "144");
}

TesseractEngine::~TesseractEngine() = default;

std::vector<TextSegment> TesseractEngine::findText(const PageImage& page) {
    SegmentCollector collector;
    m_api->SetPageSegMode(tesseract::PSM_AUTO);
    m_api->SetImage(page.pix());
    const std::unique_ptr<PageIterator> at(m_api->AnalyseLayout());
    if (at) {
        at->SetBoundingBoxComponents(true, true);
        at->Begin();
        do {
            if (tesseract::PTIsTextType(at->BlockType())) {
                collector.add(*at);
            }
        } while (at->Next(tesseract::RIL_WORD));
    }
    m_api->Clear();
    return collector.take();
}

std::vector<RecognisedWord> TesseractEngine::read(const PageImage& page, const TextSegment& segment,
                                                  const std::stop_token& stop) {
    const PixHandle image = page.textArea(segment.area);
    if (!image) {
        return {};
    }
    m_api->SetPageSegMode(tesseract::PSM_SINGLE_BLOCK);
    m_api->SetImage(image.get());
    tesseract::ETEXT_DESC monitor;
    monitor.cancel = &stopRequested;
    monitor.cancel_this = const_cast<std::stop_token*>(&stop);
    const int result = m_api->Recognize(&monitor);
    throwIfStopped(stop);
    // An area without ink is no failure to the library.
    if (result != 0) {
        throw TextRecogniserError("a part of the page cannot be read");
    }
    std::vector<RecognisedWord> words = wordsWithin(segment);
    m_api->Clear();
    return words;
}

std::vector<RecognisedWord> TesseractEngine::wordsWithin(const TextSegment& segment) {
    std::vector<RecognisedWord> words;
    const std::unique_ptr<tesseract::ResultIterator> at(m_api->GetIterator());
    if (!at) {
        return words;
    }
    at->SetBoundingBoxComponents(true, true);
    const QPoint origin(std::max(0, segment.area.x()), std::max(0, segment.area.y()));
    at->Begin();
    do {
        const std::unique_ptr<char[]> text(at->GetUTF8Text(tesseract::RIL_WORD));
        const QRect box = boxOf(*at, tesseract::RIL_WORD).translated(origin);
        if (text && !liesBeside(box, segment.ink)) {
            words.push_back({QString::fromUtf8(text.get()).trimmed(),
                             at->Confidence(tesseract::RIL_WORD), heldTo(box, segment.ink, words)});
        }
    } while (at->Next(tesseract::RIL_WORD));
    return words;
}

} // namespace lumivane
