#include "accounts/SecretJson.h"

#include <string>

namespace lumivane {

namespace {

void overwrite(std::string& text) { ::explicit_bzero(text.data(), text.size()); }

void overwriteTexts(Json& value) {
    if (value.is_string()) {
        overwrite(value.get_ref<std::string&>());
    }
    if (value.is_structured()) {
        // Nesting was bounded when the value was read.
        for (Json& element : value) {
            overwriteTexts(element);
        }
    }
}

} // namespace

SecretText JsonCoding<SecretText>::decode(const Json& value) {
    if (!value.is_string()) {
        throw DecodingError(DecodingError::Reason::wrongType);
    }
    return SecretText(QByteArrayView(value.get_ref<const std::string&>()));
}

Json JsonCoding<SecretText>::encode(const SecretText& secret) {
    const QByteArrayView utf8 = secret.reveal();
    return std::string(utf8.data(), static_cast<std::size_t>(utf8.size()));
}

SecretJson::~SecretJson() { overwriteTexts(m_value); }

QByteArray SecretJson::write() const {
    std::string text = m_value.dump();
    QByteArray bytes = QByteArray::fromStdString(text);
    overwrite(text);
    return bytes;
}

} // namespace lumivane
