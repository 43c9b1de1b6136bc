#include "Require.h"
#include "accounts/InternetTimestamp.h"

#include <QByteArrayView>

#include <algorithm>
#include <cstdint>

using namespace lumivane;

namespace {

bool isDigitOrMark(QChar unit) {
    return (unit >= u'0' && unit <= u'9') || QStringView(u"-:.TZ+").contains(unit);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QString text = QString::fromUtf8(QByteArrayView(bytes, static_cast<qsizetype>(size)));
    const auto date = InternetTimestamp::read(text);
    const auto plain = InternetTimestamp::readPlain(text);
    require(!plain || plain == date);
    if (!date) {
        return 0;
    }
    // The longest form: nine digits of fraction and an offset.
    require(text.size() >= 20 && text.size() <= 35);
    require(std::all_of(text.begin(), text.end(), isDigitOrMark));
    require(date->isValid() && date->timeSpec() == Qt::UTC);
    require(InternetTimestamp::read(InternetTimestamp::write(*date)) == date);
    const auto stored = InternetTimestamp::readPlain(InternetTimestamp::writePlain(*date));
    require(stored && *stored <= *date && stored->addSecs(1) > *date);
    require(InternetTimestamp::writePlain(*stored) == InternetTimestamp::writePlain(*date));
    return 0;
}
