#include "Require.h"
#include "server/analysis/AnalyzeRecords.h"
#include "server/analysis/ChatMessages.h"
#include "server/analysis/Extraction.h"
#include "server/analysis/ModelAnswer.h"
#include "server/memory/ExerciseSigns.h"
#include "server/text/StrictJson.h"
#include "server/text/Utf8.h"

#include <cstdint>

using namespace lumivane::service;

namespace {

/// Whatever an engine answers must be an answer on the wire.
void checkAnswer(const std::optional<AnalysisAnswer>& answer) {
    if (answer) {
        require(hasContent(answer->result));
        require(!answer->answerStatus || answer->kind == ResultKind::leetCode);
        parseStrictly(encodeAnalyzeResponse(*answer, "id"));
    }
}

void checkRequest(std::string_view body) {
    try {
        const AnalyzeRequest request = decodeAnalyzeRequest(body);
        require(request.imageDataUrl || request.screenText);
        require(request.customPrompt.has_value() == (request.preset == Preset::custom));
        parseStrictly(completionBody("model", firstMessages("words", request)));
    } catch (const RecordError& error) {
        require(error.status() == 400 || error.status() == 422);
    }
}

void checkModelText(std::string_view text) {
    for (const Preset preset : {Preset::mcq, Preset::summary, Preset::custom, Preset::leetCode}) {
        checkAnswer(readModelAnswer(text, preset));
        checkAnswer(plainModelAnswer(text, preset));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    checkRequest(text);
    completionText(text);
    try {
        const ExerciseSigns signs = decodeSigns(text);
        require(decodeSigns(encodeSigns(signs)) == signs);
    } catch (const JsonError&) {
        // Most inputs are no signs.
    }
    // A model's words reach this far only as valid text.
    try {
        parseStrictly("\"" + std::string(text) + "\"");
        checkModelText(text);
    } catch (const JsonError&) {
        checkModelText({});
    }
    extractSummary(text);
    return 0;
}
