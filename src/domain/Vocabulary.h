#pragma once

#include "domain/ClosedSet.h"
#include "domain/Geometry.h"
#include "domain/SrgbColor.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace lumivane {

// The closed sets that the whole system speaks in. Raw texts are persisted and sent: they never
// change. Case order is the order of every picker.

/// How an answer is laid out. `answers` reaches the client only from the service.
enum class ResultKind { choice, answers, text, leetCode };

/// What the user asks of the service.
enum class Preset { mcq, summary, custom, leetCode };

/// How far a LeetCode answer was checked.
enum class LeetCodeAnswerStatus { memoryValidated, liveUnvalidated };

/// What leaves the machine.
enum class AnalysisMode { hyperPrivate, hyperAccurate };

/// How a run is triggered.
enum class ActivationMode { corner, hotkey };

/// Where a finished answer goes.
enum class DeliveryMode { screen, clipboard, both };

/// A cell of a three by three grid on the visible frame of a display.
enum class OverlayPosition {
    topLeft,
    topCenter,
    topRight,
    middleLeft,
    middleCenter,
    middleRight,
    bottomLeft,
    bottomCenter,
    bottomRight
};

/// The fill behind overlay text.
enum class OverlayBackgroundStyle { graphite, slate, blue, light, none };

/// The colour of overlay text.
enum class OverlayTextColor { white, black, mint, amber };

/// The size of overlay text.
enum class OverlayTextSize { small, medium, large };

/// One corner of a display.
enum class ScreenCorner { topLeft, topRight, bottomLeft, bottomRight };

namespace tables {

template <typename Case>
struct Plain {
    Case value;
    std::string_view rawValue;
};

template <typename Case>
struct Labelled {
    Case value;
    std::string_view rawValue;
    std::string_view label;
};

// Written out, since not every compiler that reads this file deduces them for an aggregate.
template <typename Case>
Plain(Case, std::string_view) -> Plain<Case>;
template <typename Case>
Labelled(Case, std::string_view, std::string_view) -> Labelled<Case>;

inline constexpr std::array resultKind{
    Plain{ResultKind::choice, "choice"},
    Plain{ResultKind::answers, "answers"},
    Plain{ResultKind::text, "text"},
    Plain{ResultKind::leetCode, "leetcode"},
};

struct PresetRow {
    Preset value;
    std::string_view rawValue;
    std::string_view label;
    ResultKind resultKind;
};

inline constexpr std::array preset{
    PresetRow{Preset::mcq, "mcq", "Multiple Choice", ResultKind::choice},
    PresetRow{Preset::summary, "summary", "Screen Summary", ResultKind::text},
    PresetRow{Preset::custom, "custom", "Custom Prompt", ResultKind::text},
    PresetRow{Preset::leetCode, "leetcode", "LeetCode", ResultKind::leetCode},
};

inline constexpr std::array leetCodeAnswerStatus{
    Labelled{LeetCodeAnswerStatus::memoryValidated, "memory_validated", "Locally checked"},
    Labelled{LeetCodeAnswerStatus::liveUnvalidated, "live_unvalidated", "Live / Unvalidated"},
};

inline constexpr std::array analysisMode{
    Labelled{AnalysisMode::hyperPrivate, "hyperPrivate", "Hyper Private"},
    Labelled{AnalysisMode::hyperAccurate, "hyperAccurate", "Hyper Accurate"},
};

inline constexpr std::array activationMode{
    Labelled{ActivationMode::corner, "corner", "Hot Corner"},
    Labelled{ActivationMode::hotkey, "hotkey", "Keyboard Shortcut"},
};

struct DeliveryModeRow {
    DeliveryMode value;
    std::string_view rawValue;
    std::string_view label;
    bool showsOnScreen;
    bool copiesToClipboard;
};

inline constexpr std::array deliveryMode{
    DeliveryModeRow{DeliveryMode::screen, "screen", "Show on screen", true, false},
    DeliveryModeRow{DeliveryMode::clipboard, "clipboard", "Copy to clipboard", false, true},
    DeliveryModeRow{DeliveryMode::both, "both", "Both", true, true},
};

inline constexpr std::array overlayPosition{
    Plain{OverlayPosition::topLeft, "topLeft"},
    Plain{OverlayPosition::topCenter, "topCenter"},
    Plain{OverlayPosition::topRight, "topRight"},
    Plain{OverlayPosition::middleLeft, "middleLeft"},
    Plain{OverlayPosition::middleCenter, "middleCenter"},
    Plain{OverlayPosition::middleRight, "middleRight"},
    Plain{OverlayPosition::bottomLeft, "bottomLeft"},
    Plain{OverlayPosition::bottomCenter, "bottomCenter"},
    Plain{OverlayPosition::bottomRight, "bottomRight"},
};

struct OverlayBackgroundStyleRow {
    OverlayBackgroundStyle value;
    std::string_view rawValue;
    std::string_view label;
    std::optional<std::uint32_t> fillHex;
    bool drawsPanelChrome;
};

inline constexpr std::array overlayBackgroundStyle{
    OverlayBackgroundStyleRow{OverlayBackgroundStyle::graphite, "graphite", "Graphite", 0x1C1D1F,
                              true},
    OverlayBackgroundStyleRow{OverlayBackgroundStyle::slate, "slate", "Slate", 0x9A9EA3, true},
    OverlayBackgroundStyleRow{OverlayBackgroundStyle::blue, "blue", "Blue", 0x2F6FDB, true},
    OverlayBackgroundStyleRow{OverlayBackgroundStyle::light, "light", "Paper", 0xF2F2F4, true},
    OverlayBackgroundStyleRow{OverlayBackgroundStyle::none, "none", "No background", std::nullopt,
                              false},
};

struct OverlayTextColorRow {
    OverlayTextColor value;
    std::string_view rawValue;
    std::string_view label;
    std::uint32_t colorHex;
};

inline constexpr std::array overlayTextColor{
    OverlayTextColorRow{OverlayTextColor::white, "white", "White", 0xFFFFFF},
    OverlayTextColorRow{OverlayTextColor::black, "black", "Black", 0x111111},
    OverlayTextColorRow{OverlayTextColor::mint, "mint", "Mint", 0x8FF0C2},
    OverlayTextColorRow{OverlayTextColor::amber, "amber", "Amber", 0xF5C469},
};

struct OverlayTextSizeRow {
    OverlayTextSize value;
    std::string_view rawValue;
    std::string_view label;
    double pointSize;
    double answerPointSize;
};

inline constexpr std::array overlayTextSize{
    OverlayTextSizeRow{OverlayTextSize::small, "small", "Small", 11.0, 15.0},
    OverlayTextSizeRow{OverlayTextSize::medium, "medium", "Medium", 12.5, 18.0},
    OverlayTextSizeRow{OverlayTextSize::large, "large", "Large", 15.0, 22.0},
};

inline constexpr std::array screenCorner{
    Labelled{ScreenCorner::topLeft, "topLeft", "Top Left"},
    Labelled{ScreenCorner::topRight, "topRight", "Top Right"},
    Labelled{ScreenCorner::bottomLeft, "bottomLeft", "Bottom Left"},
    Labelled{ScreenCorner::bottomRight, "bottomRight", "Bottom Right"},
};

static_assert(isInCaseOrder(resultKind) && isInCaseOrder(preset) &&
              isInCaseOrder(leetCodeAnswerStatus) && isInCaseOrder(analysisMode) &&
              isInCaseOrder(activationMode) && isInCaseOrder(deliveryMode) &&
              isInCaseOrder(overlayPosition) && isInCaseOrder(overlayBackgroundStyle) &&
              isInCaseOrder(overlayTextColor) && isInCaseOrder(overlayTextSize) &&
              isInCaseOrder(screenCorner));

} // namespace tables

constexpr const auto& closedSetTable(ResultKind) { return tables::resultKind; }

constexpr const auto& closedSetTable(Preset) { return tables::preset; }

constexpr const auto& closedSetTable(LeetCodeAnswerStatus) { return tables::leetCodeAnswerStatus; }

constexpr const auto& closedSetTable(AnalysisMode) { return tables::analysisMode; }

constexpr const auto& closedSetTable(ActivationMode) { return tables::activationMode; }

constexpr const auto& closedSetTable(DeliveryMode) { return tables::deliveryMode; }

constexpr const auto& closedSetTable(OverlayPosition) { return tables::overlayPosition; }

constexpr const auto& closedSetTable(OverlayBackgroundStyle) {
    return tables::overlayBackgroundStyle;
}

constexpr const auto& closedSetTable(OverlayTextColor) { return tables::overlayTextColor; }

constexpr const auto& closedSetTable(OverlayTextSize) { return tables::overlayTextSize; }

constexpr const auto& closedSetTable(ScreenCorner) { return tables::screenCorner; }

/// The kind that belongs to a preset. A real result carries the service's own kind.
constexpr ResultKind resultKind(Preset preset) { return closedSetRow(preset).resultKind; }

constexpr bool showsOnScreen(DeliveryMode mode) { return closedSetRow(mode).showsOnScreen; }

constexpr bool copiesToClipboard(DeliveryMode mode) { return closedSetRow(mode).copiesToClipboard; }

/// 0 for left, 1 for centre, 2 for right.
constexpr int horizontalIndex(OverlayPosition position) { return static_cast<int>(position) % 3; }

/// 0 for top, 1 for middle, 2 for bottom.
constexpr int verticalIndex(OverlayPosition position) { return static_cast<int>(position) / 3; }

/// The fill as 0xRRGGBB; none for `none`, which is no fill at all rather than a transparent one.
constexpr std::optional<std::uint32_t> fillHex(OverlayBackgroundStyle style) {
    return closedSetRow(style).fillHex;
}

std::optional<SrgbColor> fill(OverlayBackgroundStyle style);

constexpr bool drawsPanelChrome(OverlayBackgroundStyle style) {
    return closedSetRow(style).drawsPanelChrome;
}

constexpr std::uint32_t colorHex(OverlayTextColor color) { return closedSetRow(color).colorHex; }

SrgbColor color(OverlayTextColor textColor);

/// Points of body text and of the short answer.
constexpr double pointSize(OverlayTextSize size) { return closedSetRow(size).pointSize; }

constexpr double answerPointSize(OverlayTextSize size) {
    return closedSetRow(size).answerPointSize;
}

/// Whether `point` lies in the corner's square of edge `size` points; y grows upward. The test
/// is inclusive and has no bound on the far side: the caller has chosen the display already.
bool contains(ScreenCorner corner, Point point, const Rect& rect, double size);

} // namespace lumivane
