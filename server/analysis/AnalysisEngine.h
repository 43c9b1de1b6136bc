#pragma once

#include "server/analysis/AnalyzeRecords.h"

#include <boost/asio/awaitable.hpp>

#include <optional>
#include <stdexcept>
#include <string>

namespace lumivane::service {

/// An analysis has no answer. All three reach the client as an error envelope: the message is a
/// short sentence (under 300 characters) that a person can act on, and never repeats a request, an
/// upstream's text or a key.
class EngineError : public std::runtime_error {
public:
    EngineError(int status, std::string code, const std::string& message)
        : std::runtime_error(message)
        , m_status(status)
        , m_code(std::move(code)) {}

    int status() const { return m_status; }

    const std::string& code() const { return m_code; }

private:
    int m_status;
    std::string m_code;
};

/// Answers checked requests. One instance serves all requests, many at a time, on the network
/// thread; it must outlive them. Cancelling the coroutine ends the analysis early.
class AnalysisEngine {
public:
    virtual ~AnalysisEngine() = default;

    /// Throws EngineError.
    virtual boost::asio::awaitable<AnalysisAnswer> analyze(AnalyzeRequest request) = 0;

    /// Whether the engine answers LeetCode, as far as it knows: a client asks none of an engine
    /// that says false, and tries one that does not say.
    virtual std::optional<bool> answersLeetCode() const = 0;
};

} // namespace lumivane::service
