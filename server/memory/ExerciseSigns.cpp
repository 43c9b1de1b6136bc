#include "server/memory/ExerciseSigns.h"

#include "server/text/StrictJson.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

namespace lumivane::service {

namespace json = boost::json;

namespace {

[[noreturn]] void refuse() { throw JsonError("it does not hold the signs of an exercise"); }

// Not in braces, which make an array of it.
json::value encoded(const std::string& text) {
    return json::value(json::string_view(text.data(), text.size()));
}

template <typename Item>
json::value encoded(const std::vector<Item>& items) {
    json::array array;
    for (const Item& item : items) {
        array.push_back(encoded(item));
    }
    return array;
}

void decode(const json::value& value, std::string& text) {
    if (!value.is_string() || value.get_string().empty()) {
        refuse();
    }
    text.assign(value.get_string().data(), value.get_string().size());
}

template <typename Item>
void decode(const json::value& value, std::vector<Item>& items) {
    if (!value.is_array()) {
        refuse();
    }
    for (const json::value& element : value.get_array()) {
        decode(element, items.emplace_back());
    }
}

const json::value& under(const json::value& document, json::string_view key) {
    const auto* object = document.if_object();
    const auto* value = object != nullptr ? object->if_contains(key) : nullptr;
    if (value == nullptr) {
        refuse();
    }
    return *value;
}

} // namespace

std::string encodeSigns(const ExerciseSigns& signs) {
    json::object record;
    record["titles"] = encoded(signs.titles);
    record["entry"] = encoded(signs.entry);
    record["parameters"] = encoded(signs.parameters);
    record["signs"] = encoded(signs.signs);
    record["foreign"] = encoded(signs.foreign);
    return json::serialize(record);
}

ExerciseSigns decodeSigns(std::string_view text) {
    const json::value document = parseStrictly(text);
    ExerciseSigns signs;
    decode(under(document, "titles"), signs.titles);
    decode(under(document, "entry"), signs.entry);
    decode(under(document, "parameters"), signs.parameters);
    decode(under(document, "signs"), signs.signs);
    decode(under(document, "foreign"), signs.foreign);
    if (signs.titles.empty() || signs.signs.empty()) {
        refuse();
    }
    return signs;
}

} // namespace lumivane::service
