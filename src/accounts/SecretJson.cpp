#include "accounts/SecretJson.h"

#include <string>
#include <string_view>

namespace lumivane {

namespace {

void overwriteText(std::string& text) { ::explicit_bzero(text.data(), text.size()); }

void overwriteTexts(Json& value) {
    if (value.is_string()) {
        overwriteText(value.get_ref<std::string&>());
    }
    if (value.is_structured()) {
        // Nesting was bounded when the value was read.
        for (Json& element : value) {
            overwriteTexts(element);
        }
    }
}

/// Writes to nowhere, to learn how much there is.
class Measure {
public:
    void add(std::string_view text) { m_size += qsizetype(text.size()); }

    qsizetype size() const { return m_size; }

private:
    qsizetype m_size = 0;
};

/// Writes into one piece of memory: what grows leaves a part of a secret behind with each step.
class Piece {
public:
    explicit Piece(qsizetype size) { m_bytes.reserve(size); }

    void add(std::string_view text) { m_bytes.append(text.data(), qsizetype(text.size())); }

    QByteArray take() { return std::exchange(m_bytes, QByteArray()); }

private:
    QByteArray m_bytes;
};

template <typename Sink>
void writeText(const std::string& text, Sink& sink) {
    if (!QUtf8StringView(text).isValidUtf8()) {
        throw EncodingError();
    }
    sink.add("\"");
    for (const char& character : text) {
        // The library's own escapes; of what needs none it would only keep a copy.
        const bool isEscaped =
            character == '"' || character == '\\' || static_cast<unsigned char>(character) < ' ';
        if (isEscaped) {
            const std::string quoted = Json(std::string(1, character)).dump();
            sink.add(std::string_view(quoted).substr(1, quoted.size() - 2));
        } else {
            sink.add(std::string_view(&character, 1));
        }
    }
    sink.add("\"");
}

template <typename Sink>
void writeValue(const Json& value, Sink& sink) {
    if (value.is_string()) {
        writeText(value.get_ref<const std::string&>(), sink);
    } else if (value.is_object()) {
        std::string_view separator = "{";
        for (const auto& [key, member] : value.get_ref<const Json::object_t&>()) {
            sink.add(separator);
            writeText(key, sink);
            sink.add(":");
            writeValue(member, sink);
            separator = ",";
        }
        sink.add(value.empty() ? "{}" : "}");
    } else if (value.is_array()) {
        std::string_view separator = "[";
        for (const Json& element : value) {
            sink.add(separator);
            writeValue(element, sink);
            separator = ",";
        }
        sink.add(value.empty() ? "[]" : "]");
    } else {
        sink.add(value.dump());
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

void SecretJson::overwrite() { overwriteTexts(m_value); }

QByteArray SecretJson::write() const {
    Measure measure;
    writeValue(m_value, measure);
    Piece piece(measure.size());
    writeValue(m_value, piece);
    return piece.take();
}

} // namespace lumivane
