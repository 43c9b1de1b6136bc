#pragma once

#include "domain/ClosedSet.h"

#include <QByteArrayView>
#include <QString>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace lumivane {

/// A JSON value whose objects keep the order of their keys, which is part of every written form.
using Json = nlohmann::ordered_json;

/// Data from outside is not of the expected form. The whole record fails; there is no part of it.
///
/// It tells what is wrong and never what the data holds, so nothing of a peer's text gets on.
class DecodingError : public std::exception {
public:
    enum class Reason {
        tooLarge,         ///< more bytes than the reader allows
        tooDeep,          ///< arrays and objects nested deeper than the reader allows
        malformed,        ///< no JSON text in UTF-8, or more than one
        missing,          ///< a required key is absent or null
        duplicate,        ///< a key that is read stands there twice
        wrongType,        ///< another type of value, or an integer with a fraction
        outOfRange,       ///< a number that its field cannot hold
        unknownValue,     ///< a text that is no case of its closed set
        invalidTimestamp, ///< a text that is no date
    };

    explicit DecodingError(Reason reason)
        : reason(reason) {}

    const char* what() const noexcept override {
        return reason == Reason::invalidTimestamp ? "Invalid ISO-8601 timestamp"
                                                  : "The data is not in the expected form.";
    }

    Reason reason;
};

/// A value cannot be written as JSON: a number that is not finite.
class EncodingError : public std::exception {
public:
    const char* what() const noexcept override { return "The value cannot be written."; }
};

/// What a reader is ready to take from a peer or a store.
struct JsonLimits {
    std::int64_t maximumBytes = std::int64_t{4} * 1024 * 1024;
    int maximumDepth = 32; ///< an array or object in nothing else has depth 1
};

/// Reads exactly one JSON text in UTF-8, in time linear in its size. Throws DecodingError.
///
/// An object may come out with one key twice; JsonObjectReader refuses that for the keys it reads.
Json parseJson(QByteArrayView data, JsonLimits limits = {});

/// JSON in UTF-8 without white space, with nothing escaped but what JSON demands.
QByteArray writeJson(const Json& value);

/// How a type reads and writes itself. The types below are ready; a record adds its own:
///
///     template <>
///     struct JsonCoding<Device> {
///         static Device decode(const Json& value) {
///             const JsonObjectReader reader(value);
///             return {.name = reader.required<QString>("name")};
///         }
///         static Json encode(const Device& device);
///     };
///
/// `decode` throws DecodingError, `encode` EncodingError.
template <typename Value>
struct JsonCoding;

/// Any text, also an empty one.
template <>
struct JsonCoding<QString> {
    static QString decode(const Json& value);
    static Json encode(const QString& text);
};

/// True or false; a number is neither.
template <>
struct JsonCoding<bool> {
    static bool decode(const Json& value);
    static Json encode(bool value);
};

/// A whole number. JSON has one kind of number, so 1.0 and 1e3 are the integers they equal, as far
/// as a double holds every integer (2^53); 1.5 is refused.
template <>
struct JsonCoding<std::int64_t> {
    static std::int64_t decode(const Json& value);
    static Json encode(std::int64_t value);
};

/// Any number, written with a fraction or without. Only finite ones can be written.
template <>
struct JsonCoding<double> {
    static double decode(const Json& value);
    static Json encode(double value);
};

/// The raw text of a case.
template <ClosedSet Case>
struct JsonCoding<Case> {
    static Case decode(const Json& value) {
        const auto found = fromRawValue<Case>(JsonCoding<QString>::decode(value));
        if (!found) {
            throw DecodingError(DecodingError::Reason::unknownValue);
        }
        return *found;
    }

    static Json encode(Case value) { return JsonCoding<QString>::encode(rawValue(value)); }
};

/// An array, every element of which decodes; a null element does not.
template <typename Element>
struct JsonCoding<std::vector<Element>> {
    static std::vector<Element> decode(const Json& value) {
        if (!value.is_array()) {
            throw DecodingError(DecodingError::Reason::wrongType);
        }
        std::vector<Element> elements;
        elements.reserve(value.size());
        for (const Json& element : value) {
            elements.push_back(JsonCoding<Element>::decode(element));
        }
        return elements;
    }

    static Json encode(const std::vector<Element>& elements) {
        Json array = Json::array();
        for (const Element& element : elements) {
            array.push_back(JsonCoding<Element>::encode(element));
        }
        return array;
    }
};

/// Reads the fields of one object, each under its exact key. Keys that nobody asks for are
/// ignored. It looks into the value it was made from, which must outlive it.
class JsonObjectReader {
public:
    /// Throws DecodingError for anything but an object.
    explicit JsonObjectReader(const Json& value);

    /// The field, which must be there; null counts as missing. Throws DecodingError.
    template <typename Value>
    Value required(std::string_view key) const {
        const Json* field = find(key);
        if (field == nullptr) {
            throw DecodingError(DecodingError::Reason::missing);
        }
        return JsonCoding<Value>::decode(*field);
    }

    /// The field, or none when it is absent or null; one of the wrong type throws DecodingError.
    template <typename Value>
    std::optional<Value> optional(std::string_view key) const {
        const Json* field = find(key);
        return field == nullptr ? std::nullopt
                                : std::optional<Value>(JsonCoding<Value>::decode(*field));
    }

private:
    /// Null for absent and for null.
    const Json* find(std::string_view key) const;

    const Json& m_object;
};

/// Builds one object, key by key in the order of the calls. A key is written once.
class JsonObjectWriter {
public:
    template <typename Value>
    JsonObjectWriter& write(std::string_view key, const Value& value) {
        add(key, JsonCoding<Value>::encode(value));
        return *this;
    }

    /// Leaves the key out when there is no value; null is never written.
    template <typename Value>
    JsonObjectWriter& writeIfPresent(std::string_view key, const std::optional<Value>& value) {
        if (value) {
            write(key, *value);
        }
        return *this;
    }

    Json take() { return std::move(m_object); }

private:
    void add(std::string_view key, Json value);

    Json m_object = Json::object();
};

/// Decodes one record from bytes. Throws DecodingError.
template <typename Record>
Record decodeJson(QByteArrayView data, JsonLimits limits = {}) {
    return JsonCoding<Record>::decode(parseJson(data, limits));
}

/// Writes one record as bytes. Throws EncodingError.
template <typename Record>
QByteArray encodeJson(const Record& record) {
    return writeJson(JsonCoding<Record>::encode(record));
}

} // namespace lumivane
