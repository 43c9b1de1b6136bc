#include "Require.h"
#include "domain/Characters.h"
#include "screen/InkGrid.h"
#include "screen/ScreenTextLayout.h"
#include "screen/TranscriptText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

using namespace lumivane;

namespace {

/// Values from the fuzzer's bytes; zeros once they run out.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size)
        : m_data(data)
        , m_size(size) {}

    bool isEmpty() const { return m_size == 0; }

    template <typename Value>
    Value take() {
        Value value{};
        const std::size_t size = std::min(sizeof value, m_size);
        std::memcpy(&value, m_data, size);
        m_data += size;
        m_size -= size;
        return value;
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

/// A coordinate of a plausible page, or any number at all.
double number(Bytes& bytes, bool isAnything) {
    return isAnything ? bytes.take<double>() : bytes.take<std::uint8_t>() / 256.0;
}

QString text(Bytes& bytes, std::uint8_t kind) {
    QString result;
    for (int units = kind % 16; units > 0; --units) {
        result +=
            (kind & 0x10) != 0 ? QChar(bytes.take<char16_t>()) : QChar(bytes.take<std::uint8_t>());
    }
    // Long transcripts must be in reach of short inputs.
    return (kind & 0x20) != 0 ? result.repeated(200) : result;
}

std::vector<TextFragment> fragments(Bytes bytes) {
    std::vector<TextFragment> result;
    while (!bytes.isEmpty()) {
        const auto kind = bytes.take<std::uint8_t>();
        const bool isAnything = (kind & 0x40) != 0;
        TextFragment fragment;
        fragment.text = text(bytes, kind);
        fragment.confidence = (kind & 0x80) != 0 ? bytes.take<double>() : 1;
        fragment.box.x = number(bytes, isAnything);
        fragment.box.y = number(bytes, isAnything);
        fragment.box.width = number(bytes, isAnything);
        fragment.box.height = number(bytes, isAnything);
        result.push_back(std::move(fragment));
    }
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<TextFragment> given = fragments({data, size});
    const std::vector<TextFragment> accepted = ScreenTextLayout::accepted(given);
    require(accepted.size() <= given.size());
    const ScreenTextLayoutResult result = ScreenTextLayout::transcript(given);
    require(characterCount(result.text) <= ScreenTextLayout::maximumCharacters);
    require(!result.truncated || result.text.contains(u"characters omitted"_qs));
    require(std::none_of(result.text.begin(), result.text.end(), [](QChar unit) {
        return ScreenTextLayout::isDiscardable(unit.unicode());
    }));
    require(!result.text.contains(u"\n\n\n\n"_qs) || result.truncated);
    require(!result.text.contains(u"    "_qs) && !result.text.contains(u'\t'));
    require(ScreenTextLayout::transcript(accepted) == result);

    std::vector<Rect> boxes;
    for (const TextFragment& fragment : accepted) {
        boxes.push_back(fragment.box);
    }
    constexpr PixelSize grid{96, 60};
    require(textMask(boxes, grid).size() == 96U * 60U);
    return 0;
}
