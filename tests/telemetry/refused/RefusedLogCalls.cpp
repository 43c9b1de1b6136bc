// Every line with a tag has to be refused for the reason that its tag names.

#include "domain/LumivaneError.h"
#include "domain/Vocabulary.h"
#include "telemetry/LumivaneLog.h"

#include <QString>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace lumivane {

void callWrongly(const QString& text, const std::string& bytes, const char* pointer,
                 const std::runtime_error& error, const LumivaneError& ownError) {
    constexpr std::int64_t wide = 1;
    constexpr std::int32_t narrow = 1;
    const auto& log = LumivaneLog::capture;
    // clang-format off
    log.log("%{public}d", wide);                 // refused: MarkerDoesNotFit
    log.log("%{public}ld", narrow);              // refused: MarkerDoesNotFit
    log.log("%ld", wide);                        // refused: MarkerDoesNotFit
    log.log("%{private}ld", wide);               // refused: MarkerDoesNotFit
    log.log("%{public}d", true);                 // refused: MarkerDoesNotFit
    log.log("%{public}s", wide);                 // refused: MarkerDoesNotFit
    log.log("%{public}d", Preset::mcq);          // refused: MarkerDoesNotFit
    log.log("%{public}ld");                      // refused: MoreMarkersThanArguments
    log.log("100%");                             // refused: MoreMarkersThanArguments
    log.log("%{public}ld %{public}ld", wide);    // refused: MoreMarkersThanArguments
    log.log("none", wide);                       // refused: FewerMarkersThanArguments
    log.log("%{public}ld", wide, wide);          // refused: FewerMarkersThanArguments
    log.debug("%{public}d", wide);               // refused: MarkerDoesNotFit
    log.info("%{public}d", wide);                // refused: MarkerDoesNotFit
    log.error("%{public}d", wide);               // refused: MarkerDoesNotFit
    log.log("%{public}s", text);                 // refused: may not be logged
    log.debug("%{public}s", text.toUtf8());      // refused: may not be logged
    log.info("%{public}s", bytes);               // refused: may not be logged
    log.error("%{public}s", pointer);            // refused: may not be logged
    log.log("%{public}s", "literal");            // refused: may not be logged
    log.log("%{public}s", error);                // refused: may not be logged
    log.log("%{public}s", ownError);             // refused: may not be logged
    log.log(pointer);                            // refused: cannot convert
    log.log(bytes);                              // refused: cannot convert
    log.log(text);                               // refused: cannot convert
    log.log("%{public}s", LogName(pointer));     // refused: no matching function
    log.log("%{public}s", LogIdentifier(bytes)); // refused: no matching function
    log.log("%{public}s", LogTypeName(text));    // refused: no matching function
    // clang-format on
}

} // namespace lumivane
