#pragma once

#include "domain/DescribedError.h"

#include <QString>

#include <string>

namespace lumivane {

/// The one error of the analysis path, with the exact words that a user reads.
class LumivaneError final : public DescribedError {
public:
    enum class Case {
        server, ///< carries the service's own message
        serviceUnavailable,
        invalidResponse,
        authenticationRequired,
        screenRecordingDenied,
        displayUnavailable,
        captureFailed,
        leetCodeTextUnavailable,
        leetCodeMemoryUnavailable,
        deviceEvicted
    };

    LumivaneError(Case errorCase) // NOLINT(google-explicit-constructor): a case is the error
        : errorCase(errorCase) {}

    static LumivaneError server(QString message);

    /// Makes text of any origin safe to show: keys and bearer tokens are redacted, then the first
    /// 300 characters are kept. The last step before any error text reaches the screen.
    static QString sanitize(const QString& text);

    QString errorDescription() const override;

    std::string_view typeName() const override { return "LumivaneError"; }

    /// Two `server` errors are equal only when their texts are.
    bool operator==(const LumivaneError& other) const {
        return errorCase == other.errorCase && message == other.message;
    }

    Case errorCase;
    QString message; ///< of `server`; empty otherwise
};

/// The description of any error at all, not yet sanitized.
QString localizedDescription(const std::exception& error);

/// A name of an error's type for logs: never any of its text.
std::string errorTypeName(const std::exception& error);

} // namespace lumivane
