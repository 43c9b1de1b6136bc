#include "Samples.h"
#include "platform/linux/QtImageCodec.h"
#include "screen/ScreenImagePolicy.h"
#include "screen/ScreenImageReducer.h"

#include <QGuiApplication>
#include <QPainter>

using namespace lumivane;

namespace {

/// A frame with lines of small type and a picture: what a screen asks of a resampler.
QImage frame(PixelSize size) {
    QImage image(size.width, size.height, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    for (int y = 24; y < size.height; y += 24) {
        painter.drawText(
            16, y,
            u"The quick brown fox jumps over the lazy dog, 0123456789 times. "_qs.repeated(6));
    }
    QLinearGradient gradient(0, 0, size.width, size.height);
    gradient.setColorAt(0, QColor(20, 60, 200));
    gradient.setColorAt(1, QColor(240, 180, 20));
    painter.fillRect(size.width * 2 / 3, size.height / 3, size.width / 4, size.height / 3,
                     gradient);
    return image;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QImage image = frame({2880, 1800});
    const QtImageCodec codec;
    QThreadPool pool;
    const ScreenImageReducer reducer(codec, pool);

    bench::Samples whole;
    bench::Samples scaling;
    bench::Samples ink;
    qsizetype bytes = 0;
    for (int round = 0; round < 25; ++round) {
        whole.measure([&] {
            const QImage small = reducer.scaled(image, ScreenImagePolicy::privateLongEdge);
            bytes = reducer.encodeJPEG(small, ScreenImagePolicy::jpegQuality).size();
        });
        scaling.measure([&] { reducer.scaled(image, ScreenImagePolicy::privateLongEdge); });
        ink.measure([&] { reducer.inkMetrics(image, {{0.1, 0.1, 0.5, 0.5}}); });
    }
    std::printf("2880x1800 to 1024x640: scaling %.2f ms, ink %.2f ms, %lld bytes\n",
                scaling.median(), ink.median(), static_cast<long long>(bytes));
    return bench::verdict("  reduce + encode", whole.median(), "ms", 20) ? 0 : 1;
}
