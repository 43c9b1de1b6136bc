#include "server/text/StrictJson.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/parse.hpp>

#include <set>
#include <string>
#include <vector>

namespace lumivane::service {

namespace json = boost::json;

namespace {

// Sees the document once before it is built: the library's own parser silently lets the last of
// several equal keys win, and builds whatever number of values it is given.
class DocumentGuard {
public:
    static constexpr std::size_t max_object_size = std::size_t(-1);
    static constexpr std::size_t max_array_size = std::size_t(-1);
    static constexpr std::size_t max_key_size = std::size_t(-1);
    static constexpr std::size_t max_string_size = std::size_t(-1);

    explicit DocumentGuard(JsonLimits limits)
        : m_limits(limits) {}

    const char* broken() const { return m_broken; }

    bool on_document_begin(json::error_code&) { return true; }

    bool on_document_end(json::error_code&) { return true; }

    bool on_object_begin(json::error_code& error) {
        m_keys.emplace_back();
        return countValue(error);
    }

    bool on_object_end(std::size_t, json::error_code&) {
        m_keys.pop_back();
        return true;
    }

    bool on_array_begin(json::error_code& error) { return countValue(error); }

    bool on_array_end(std::size_t, json::error_code&) { return true; }

    bool on_key_part(json::string_view part, std::size_t size, json::error_code& error) {
        if (size > m_limits.keyBytes) {
            return fail("a key is too long", error);
        }
        m_key.append(part.data(), part.size());
        return true;
    }

    bool on_key(json::string_view part, std::size_t size, json::error_code& error) {
        if (!on_key_part(part, size, error)) {
            return false;
        }
        const bool isNew = m_keys.back().insert(std::move(m_key)).second;
        m_key.clear();
        return isNew || fail("a key stands twice in one object", error);
    }

    bool on_string_part(json::string_view, std::size_t, json::error_code&) { return true; }

    bool on_string(json::string_view, std::size_t, json::error_code& error) {
        return countValue(error);
    }

    bool on_number_part(json::string_view, json::error_code&) { return true; }

    bool on_int64(std::int64_t, json::string_view, json::error_code& error) {
        return countValue(error);
    }

    bool on_uint64(std::uint64_t, json::string_view, json::error_code& error) {
        return countValue(error);
    }

    bool on_double(double, json::string_view, json::error_code& error) { return countValue(error); }

    bool on_bool(bool, json::error_code& error) { return countValue(error); }

    bool on_null(json::error_code& error) { return countValue(error); }

    bool on_comment_part(json::string_view, json::error_code&) { return true; }

    bool on_comment(json::string_view, json::error_code&) { return true; }

private:
    bool countValue(json::error_code& error) {
        return ++m_values <= m_limits.values || fail("there are too many values", error);
    }

    bool fail(const char* rule, json::error_code& error) {
        m_broken = rule;
        error = json::error::extra_data;
        return false;
    }

    JsonLimits m_limits;
    std::size_t m_values = 0;
    std::string m_key;
    std::vector<std::set<std::string>> m_keys;
    const char* m_broken = nullptr;
};

} // namespace

json::value parseStrictly(std::string_view text, const JsonLimits& limits) {
    json::parse_options options;
    options.max_depth = limits.depth;
    json::basic_parser<DocumentGuard> guard(options, limits);
    json::error_code error;
    const std::size_t used = guard.write_some(false, text.data(), text.size(), error);
    if (guard.handler().broken() != nullptr) {
        throw JsonError(guard.handler().broken());
    }
    if (error == json::error::too_deep) {
        throw JsonError("it is nested too deeply");
    }
    if (error || used != text.size()) {
        throw JsonError("it is not well-formed JSON in UTF-8");
    }
    return json::parse(json::string_view{text.data(), text.size()}, {}, options);
}

} // namespace lumivane::service
