#include "support/FakeUserDefaults.h"

#include <utility>

namespace lumivane::test {

std::optional<QByteArray> FakeUserDefaults::data(const QString& key) const {
    m_requests.push_back({Request::Kind::data, key});
    const auto found = contents.find(key);
    return found == contents.end() ? std::nullopt : std::optional(found->second);
}

void FakeUserDefaults::set(const QByteArray& data, const QString& key) {
    request(Request::Kind::set, key, m_writingError);
    contents[key] = data;
}

void FakeUserDefaults::removeObject(const QString& key) {
    request(Request::Kind::removeObject, key, m_removingError ? m_removingError : m_writingError);
    contents.erase(key);
}

void FakeUserDefaults::removePersistentDomain() {
    request(Request::Kind::removePersistentDomain, QString(),
            m_removingError ? m_removingError : m_writingError);
    contents.clear();
}

std::vector<FakeUserDefaults::Request> FakeUserDefaults::takeRequests() {
    return std::exchange(m_requests, {});
}

void FakeUserDefaults::request(Request::Kind kind, const QString& key,
                               std::optional<std::errc> error) {
    m_requests.push_back({kind, key});
    if (error) {
        throw std::system_error(std::make_error_code(*error));
    }
}

} // namespace lumivane::test
