#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lumivane::service {

/// What is asked of the service.
enum class Preset { mcq, summary, custom, leetCode };

/// How an answer is laid out.
enum class ResultKind { choice, answers, text, leetCode };

/// How far an answer to a coding problem was checked.
enum class AnswerStatus { memoryValidated, liveUnvalidated };

/// The raw texts of the closed sets, as they stand on the wire; none for an unknown text.
std::string_view rawValue(Preset preset);
std::string_view rawValue(ResultKind kind);
std::string_view rawValue(AnswerStatus status);
std::optional<Preset> presetFromRawValue(std::string_view text);
std::optional<ResultKind> resultKindFromRawValue(std::string_view text);

/// What the client measured before it sent its request: milliseconds and pixels.
struct ClientMetrics {
    std::int64_t captureMs = 0;
    std::int64_t ocrMs = 0;
    std::int64_t encodeMs = 0;
    std::int64_t clientMs = 0;
    std::optional<std::int64_t> imagePixelWidth;
    std::optional<std::int64_t> imagePixelHeight;

    bool operator==(const ClientMetrics&) const = default;
};

/// One request to analyse a screen, checked: it has a picture or words, or both.
struct AnalyzeRequest {
    std::optional<std::string> imageDataUrl; ///< "data:image/jpeg;base64," and a JPEG
    std::optional<std::string> screenText;   ///< has something other than white space in it
    Preset preset = Preset::summary;
    std::optional<std::string> customPrompt; ///< exactly when the preset is `custom`
    std::string clientVersion;
    std::optional<ClientMetrics> clientMetrics;
};

/// An engine's answer.
struct AnalysisAnswer {
    std::string result;
    ResultKind kind = ResultKind::text;
    std::optional<std::string> questionTitle;
    std::optional<AnswerStatus> answerStatus;

    bool operator==(const AnalysisAnswer&) const = default;
};

/// The body is refused. `status` is 400 for what is no JSON at all and 422 for a wrong record;
/// `code` and `what()` go to the client and name keys and rules, never values.
class RecordError : public std::runtime_error {
public:
    RecordError(int status, const char* code, const std::string& message)
        : std::runtime_error(message)
        , m_status(status)
        , m_code(code) {}

    int status() const { return m_status; }

    const char* code() const { return m_code; }

private:
    int m_status;
    const char* m_code;
};

/// Bounds of the record. The client holds its text to 12,000 characters as readers count them;
/// one such character may be several code points, so the bound here is four times that.
inline constexpr std::size_t screenTextCodePoints = 48'000;
inline constexpr std::size_t customPromptCodePoints = 8'000;
inline constexpr std::size_t clientVersionBytes = 64;
inline constexpr std::int64_t timingLimit = 60'000;
inline constexpr std::int64_t pixelLimit = 20'000;

/// Decodes and checks a body. A null under an optional key counts as absent; unknown keys are
/// ignored. Takes time in proportion to the body, so it belongs on a work thread. Throws
/// RecordError.
AnalyzeRequest decodeAnalyzeRequest(std::string_view body);

/// The body of a successful answer, keys in the order of the format.
std::string encodeAnalyzeResponse(const AnalysisAnswer& answer, std::string_view requestId);

} // namespace lumivane::service
