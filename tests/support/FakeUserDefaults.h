#pragma once

#include "platform/UserDefaults.h"

#include <map>
#include <system_error>
#include <vector>

namespace lumivane::test {

/// Data under keys in memory; keeps what was asked of it, and fails as the test says.
class FakeUserDefaults final : public UserDefaults {
public:
    /// One call, in order of arrival. Refused ones stand here too.
    struct Request {
        enum class Kind { data, set, removeObject, removePersistentDomain };

        Kind kind = Kind::data;
        QString key; ///< empty for the whole domain

        bool operator==(const Request&) const = default;
    };

    std::optional<QByteArray> data(const QString& key) const override;
    void set(const QByteArray& data, const QString& key) override;
    void removeObject(const QString& key) override;
    void removePersistentDomain() override;

    /// Writing and removing fail like this from now on; none lets them through again.
    void failWriting(std::optional<std::errc> error) { m_writingError = error; }

    /// Only removing fails like this from now on.
    void failRemoving(std::optional<std::errc> error) { m_removingError = error; }

    std::vector<Request> takeRequests();

    std::map<QString, QByteArray> contents; ///< what is stored; the test may write here

private:
    void request(Request::Kind kind, const QString& key, std::optional<std::errc> error);

    std::optional<std::errc> m_writingError;
    std::optional<std::errc> m_removingError;
    mutable std::vector<Request> m_requests;
};

} // namespace lumivane::test
