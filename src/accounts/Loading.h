#pragma once

namespace lumivane {

/// Whether something that is there already is asked of the service once more.
enum class Loading {
    ifNeeded, ///< only what is not there yet
    again     ///< in any case, as when the user wants it
};

} // namespace lumivane
