#include "Samples.h"
#include "screen/ScreenTextLayout.h"

#include <algorithm>
#include <numeric>
#include <random>

using namespace lumivane;

namespace {

enum class Script { latin, typographic, han };

QString word(std::mt19937& random, Script script) {
    QString text;
    const std::size_t length = 3 + random() % 12;
    const char16_t first = script == Script::han ? 0x4E00 : u'a';
    const std::size_t letters = script == Script::han ? 5000 : 26;
    for (std::size_t index = 0; index < length; ++index) {
        text += QChar(static_cast<char16_t>(first + random() % letters));
    }
    if (script == Script::typographic) {
        text += u"\u2019s \u2014 caf\u00E9"_qs;
    }
    return text;
}

/// A page of two columns, ten runs of text to a row, handed over in no order.
std::vector<TextFragment> page(std::size_t count, Script script) {
    constexpr std::size_t perRow = 10;
    std::mt19937 random(7);
    std::vector<std::size_t> places(count);
    std::iota(places.begin(), places.end(), 0);
    std::shuffle(places.begin(), places.end(), random);
    const double rowHeight = perRow / static_cast<double>(count);
    std::vector<TextFragment> fragments;
    for (const std::size_t place : places) {
        const std::size_t slot = place % perRow;
        const std::size_t row = place / perRow;
        const bool isRightColumn = slot >= perRow / 2;
        const double left = static_cast<double>(slot) * 0.08 + (isRightColumn ? 0.2 : 0.0);
        const double top = static_cast<double>(row) * rowHeight;
        fragments.push_back({word(random, script), 0.9, {left, top, 0.07, rowHeight * 0.8}});
    }
    return fragments;
}

bool measure(const char* name, Script script) {
    const auto small = page(5'000, script);
    const auto large = page(50'000, script);
    bench::Samples smallTimes(bench::Samples::Time::processor);
    bench::Samples largeTimes(bench::Samples::Time::processor);
    for (int round = 0; round < 15; ++round) {
        for (int repetition = 0; repetition < 4; ++repetition) {
            smallTimes.measure([&] { ScreenTextLayout::transcript(small); });
        }
        largeTimes.measure([&] { ScreenTextLayout::transcript(large); });
    }
    std::printf("%s: 5,000 fragments %.2f ms (best %.2f), 50,000 %.2f ms (best %.2f)\n", name,
                smallTimes.median(), smallTimes.best(), largeTimes.median(), largeTimes.best());
    const bool isFast = bench::verdict("  transcript of 5,000", smallTimes.median(), "ms", 25);
    const bool isLinear = bench::verdict("  50,000 over 5,000, best times",
                                         largeTimes.best() / smallTimes.best(), "x", 12);
    return isFast && isLinear;
}

} // namespace

int main() {
    const bool latin = measure("latin", Script::latin);
    const bool typographic = measure("typographic", Script::typographic);
    const bool han = measure("han", Script::han);
    return latin && typographic && han ? 0 : 1;
}
