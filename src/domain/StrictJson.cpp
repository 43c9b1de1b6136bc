#include "domain/StrictJson.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace lumivane {

namespace {

using Reason = DecodingError::Reason;

/// Builds the value while it is read, so that depth is bounded before memory is spent on it.
class BoundedBuilder final : public nlohmann::json_sax<Json> {
public:
    BoundedBuilder(Json& root, int maximumDepth)
        : m_root(root)
        , m_maximumDepth(maximumDepth) {}

    Reason failure() const { return m_failure; }

    bool null() override { return add(nullptr); }

    bool boolean(bool value) override { return add(value); }

    bool number_integer(number_integer_t value) override { return add(value); }

    bool number_unsigned(number_unsigned_t value) override { return add(value); }

    bool number_float(number_float_t value, const string_t&) override { return add(value); }

    bool string(string_t& value) override { return add(std::move(value)); }

    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override { return open(Json::object()); }

    bool start_array(std::size_t) override { return open(Json::array()); }

    bool end_object() override { return close(); }

    bool end_array() override { return close(); }

    bool key(string_t& key) override {
        // The container's own insertion searches all keys before, which many keys make quadratic.
        auto& members = m_open.back()->get_ref<Json::object_t&>();
        static_cast<Json::object_t::Container&>(members).emplace_back(std::move(key), nullptr);
        m_member = &members.back().second;
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

private:
    bool add(Json value) {
        place(std::move(value));
        return true;
    }

    Json& place(Json value) {
        if (m_open.empty()) {
            return m_root = std::move(value);
        }
        if (m_open.back()->is_array()) {
            auto& elements = m_open.back()->get_ref<Json::array_t&>();
            return elements.emplace_back(std::move(value));
        }
        return *m_member = std::move(value);
    }

    bool open(Json container) {
        if (m_open.size() >= static_cast<std::size_t>(m_maximumDepth)) {
            m_failure = Reason::tooDeep;
            return false;
        }
        // Stays valid: a container grows only while it is the innermost open one.
        m_open.push_back(&place(std::move(container)));
        return true;
    }

    bool close() {
        m_open.pop_back();
        return true;
    }

    Json& m_root;
    int m_maximumDepth;
    std::vector<Json*> m_open;
    Json* m_member = nullptr;
    Reason m_failure = Reason::malformed;
};

void require(bool condition, Reason reason) {
    if (!condition) {
        throw DecodingError(reason);
    }
}

std::int64_t wholeNumber(double value) {
    constexpr double largestExact = 9007199254740992.0; // 2^53
    require(std::trunc(value) == value, Reason::wrongType);
    require(std::abs(value) <= largestExact, Reason::outOfRange);
    return static_cast<std::int64_t>(value);
}

// The library's own form of a number reads back the same but is not always the shortest one.
void appendShortest(std::string& text, double value) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    const std::string_view written(digits.data(), static_cast<std::size_t>(end - digits.data()));
    text += written;
    if (written.find_first_of(".e") == std::string_view::npos) {
        text += ".0";
    }
}

void append(std::string& text, const Json& value);

void appendObject(std::string& text, const Json& object) {
    char separator = '{';
    for (const auto& [key, member] : object.get_ref<const Json::object_t&>()) {
        text += separator;
        text += Json(key).dump();
        text += ':';
        append(text, member);
        separator = ',';
    }
    text += object.empty() ? "{}" : "}";
}

void appendArray(std::string& text, const Json& array) {
    char separator = '[';
    for (const Json& element : array) {
        text += separator;
        append(text, element);
        separator = ',';
    }
    text += array.empty() ? "[]" : "]";
}

void append(std::string& text, const Json& value) {
    if (value.is_object()) {
        appendObject(text, value);
    } else if (value.is_array()) {
        appendArray(text, value);
    } else if (value.is_number_float() && std::isfinite(value.get<double>())) {
        appendShortest(text, value.get<double>());
    } else {
        text += value.dump();
    }
}

} // namespace

Json parseJson(QByteArrayView data, JsonLimits limits) {
    require(data.size() <= limits.maximumBytes, Reason::tooLarge);
    // The library takes a zero byte for the end and would let anything stand behind it.
    require(!data.contains('\0'), Reason::malformed);
    Json root;
    BoundedBuilder builder(root, limits.maximumDepth);
    if (!Json::sax_parse(data.begin(), data.end(), &builder)) {
        throw DecodingError(builder.failure());
    }
    return root;
}

QByteArray writeJson(const Json& value) {
    std::string text;
    append(text, value);
    return QByteArray::fromStdString(text);
}

QString JsonCoding<QString>::decode(const Json& value) {
    require(value.is_string(), Reason::wrongType);
    return QString::fromStdString(value.get_ref<const std::string&>());
}

Json JsonCoding<QString>::encode(const QString& text) { return text.toStdString(); }

bool JsonCoding<bool>::decode(const Json& value) {
    require(value.is_boolean(), Reason::wrongType);
    return value.get<bool>();
}

Json JsonCoding<bool>::encode(bool value) { return value; }

std::int64_t JsonCoding<std::int64_t>::decode(const Json& value) {
    require(value.is_number(), Reason::wrongType);
    if (value.is_number_float()) {
        return wholeNumber(value.get<double>());
    }
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        require(std::in_range<std::int64_t>(number), Reason::outOfRange);
        return static_cast<std::int64_t>(number);
    }
    return value.get<std::int64_t>();
}

Json JsonCoding<std::int64_t>::encode(std::int64_t value) { return value; }

double JsonCoding<double>::decode(const Json& value) {
    require(value.is_number(), Reason::wrongType);
    return value.get<double>();
}

Json JsonCoding<double>::encode(double value) {
    if (!std::isfinite(value)) {
        throw EncodingError();
    }
    return value;
}

JsonObjectReader::JsonObjectReader(const Json& value)
    : m_object(value) {
    require(value.is_object(), Reason::wrongType);
}

const Json* JsonObjectReader::find(std::string_view key) const {
    const Json* found = nullptr;
    for (const auto& [name, value] : m_object.get_ref<const Json::object_t&>()) {
        if (name == key) {
            // Two readers could each believe another of the two.
            require(found == nullptr, Reason::duplicate);
            found = &value;
        }
    }
    return found == nullptr || found->is_null() ? nullptr : found;
}

void JsonObjectWriter::add(std::string_view key, Json value) {
    m_object[std::string(key)] = std::move(value);
}

} // namespace lumivane
