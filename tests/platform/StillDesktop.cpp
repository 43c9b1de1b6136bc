#include "platform/StillDesktop.h"

namespace lumivane::test {

::testing::AssertionResult StillDesktop::samePixels(const QImage& actual, const QImage& expected) {
    if (actual.size() != expected.size()) {
        return ::testing::AssertionFailure() << "sizes differ";
    }
    for (int y = 0; y < actual.height(); ++y) {
        for (int x = 0; x < actual.width(); ++x) {
            if (actual.pixel(x, y) != expected.pixel(x, y)) {
                return ::testing::AssertionFailure()
                       << std::hex << actual.pixel(x, y) << " is not " << expected.pixel(x, y)
                       << std::dec << " at " << x << ", " << y;
            }
        }
    }
    return ::testing::AssertionSuccess();
}

} // namespace lumivane::test
