#pragma once

namespace lumivane {

/// Where a run stands.
enum class AnalysisState { idle, capturing, analyzing, showingResult };

} // namespace lumivane
