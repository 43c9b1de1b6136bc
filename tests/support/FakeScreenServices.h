#pragma once

#include "screen/ScreenCapturing.h"
#include "screen/ScreenImageEncoding.h"
#include "screen/ScreenTextExtracting.h"
#include "support/Journal.h"
#include "support/ScriptedCall.h"

#include <vector>

namespace lumivane::test {

/// Gives `frame()` unless the script says otherwise; journals `capture` with the display, and
/// `warmUp`.
class FakeCapture final : public ScreenCapturing, public CaptureWarming {
public:
    explicit FakeCapture(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<CapturedScreen> capture(std::uint32_t displayID, ScreenCrop crop,
                                        std::stop_token stop) override {
        m_journal.add(u"capture %1"_qs.arg(displayID));
        crops.push_back(crop);
        return script.call(std::move(stop));
    }

    QCoro::Task<void> warmUp() override {
        m_journal.add(u"warmUp"_qs);
        co_return;
    }

    static CapturedScreen frame() {
        CapturedScreen screen;
        screen.image = QImage(8, 4, QImage::Format_RGB32);
        screen.image.fill(Qt::white);
        screen.pointPixelScale = 2;
        screen.contentRect = {0, 0, 4, 2};
        return screen;
    }

    ScriptedCall<CapturedScreen> script{frame()};
    std::vector<ScreenCrop> crops;

private:
    Journal& m_journal;
};

/// Reads sixty clear letters unless the script says otherwise; journals `extract`.
class FakeExtractor final : public ScreenTextExtracting {
public:
    explicit FakeExtractor(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<ScreenText> extract(QImage, double pointPixelScale, std::stop_token stop) override {
        m_journal.add(u"extract"_qs);
        scales.push_back(pointPixelScale);
        return script.call(std::move(stop));
    }

    static ScreenText text(const QString& text, double confidence) {
        ScreenText result;
        result.text = text;
        result.signals.charCount = text.size();
        result.signals.meanConfidence = confidence;
        result.durationMS = 77;
        return result;
    }

    ScriptedCall<ScreenText> script{text(QString(60, u'a'), 0.9)};
    std::vector<double> scales;

private:
    Journal& m_journal;
};

/// A picture of 9,000 bytes unless the script says otherwise; journals `encode`, edge and quality.
class FakeReducer final : public ScreenImageEncoding {
public:
    explicit FakeReducer(Journal& journal)
        : m_journal(journal) {}

    QCoro::Task<ReducedScreenImage> encode(QImage, int longEdge, double quality,
                                           std::stop_token stop) override {
        m_journal.add(u"encode %1 %2"_qs.arg(longEdge).arg(quality));
        return script.call(std::move(stop));
    }

    ScriptedCall<ReducedScreenImage> script{ReducedScreenImage{QByteArray(9000, 'j'), 1024, 640}};

private:
    Journal& m_journal;
};

} // namespace lumivane::test
