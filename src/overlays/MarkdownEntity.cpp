#include "overlays/MarkdownEntity.h"

#include <QByteArray>

#include <md4c-html.h>

namespace lumivane {

namespace {

constexpr QByteArrayView paragraphStart = "<p>";
constexpr QByteArrayView paragraphEnd = "</p>\n";

QString numbered(QByteArrayView digits) {
    const bool isHexadecimal = digits.startsWith('x') || digits.startsWith('X');
    bool isNumber = false;
    const char32_t code = (isHexadecimal ? digits.sliced(1) : digits)
                              .toByteArray()
                              .toUInt(&isNumber, isHexadecimal ? 16 : 10);
    const bool isCharacter =
        isNumber && code != 0 && code <= QChar::LastValidCodePoint && !QChar::isSurrogate(code);
    const char32_t character = isCharacter ? code : char32_t(QChar::ReplacementCharacter);
    return QString::fromUcs4(&character, 1);
}

/// The library's table of names is reached through its renderer alone.
QString named(QByteArrayView entity) {
    QByteArray html;
    const auto append = [](const MD_CHAR* text, MD_SIZE size, void* context) {
        static_cast<QByteArray*>(context)->append(text, qsizetype(size));
    };
    if (md_html(entity.data(), MD_SIZE(entity.size()), append, &html, 0, 0) != 0 ||
        !html.startsWith(paragraphStart) || !html.endsWith(paragraphEnd)) {
        return QString::fromUtf8(entity);
    }
    html.chop(paragraphEnd.size());
    html.remove(0, paragraphStart.size());
    html.replace("&lt;", "<").replace("&gt;", ">").replace("&quot;", "\"").replace("&amp;", "&");
    return QString::fromUtf8(html);
}

} // namespace

QString markdownEntity(QByteArrayView entity) {
    const bool isNumbered = entity.startsWith("&#");
    const QString text = isNumbered ? numbered(entity.sliced(2, entity.size() - 3)) : named(entity);
    return text == u"\n" || text == u"\r" ? u" "_qs : text;
}

} // namespace lumivane
