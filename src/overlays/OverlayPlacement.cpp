#include "overlays/OverlayPlacement.h"

#include "overlays/ResultOverlayLayout.h"

#include <algorithm>

namespace lumivane {

namespace {

constexpr double margin = 40;
constexpr double topMargin = 142;

constexpr double workingCornerRadius = 13;
constexpr double notesStatusCornerRadius = 13;
constexpr double accountCornerRadius = 14;

PanelRequest placed(const OverlayScreen& screen, OverlaySize size, OverlayPosition position,
                    double cornerRadius) {
    const Point origin = OverlayPlacement::origin(size, position, screen.visibleFrame);
    return {.displayID = screen.displayID,
            .frame = {origin.x, origin.y, size.width, size.height},
            .cornerRadius = cornerRadius};
}

PanelRequest accountPanel(const OverlayScreen& screen, const AppSettings& settings,
                          OverlaySize size) {
    PanelRequest request = placed(screen, size, settings.overlayPosition, accountCornerRadius);
    request.isInteractive = true;
    request.acceptsKeyboard = true;
    request.hasShadow = true;
    return request;
}

} // namespace

Point OverlayPlacement::origin(OverlaySize size, OverlayPosition position,
                               const Rect& visibleFrame) {
    const double columns[] = {visibleFrame.minX() + margin, visibleFrame.midX() - size.width / 2,
                              visibleFrame.maxX() - size.width - margin};
    const double rows[] = {visibleFrame.maxY() - size.height - topMargin,
                           visibleFrame.midY() - size.height / 2, visibleFrame.minY() + margin};
    return {std::min(std::max(columns[horizontalIndex(position)], visibleFrame.minX()),
                     visibleFrame.maxX() - size.width),
            std::min(std::max(rows[verticalIndex(position)], visibleFrame.minY()),
                     visibleFrame.maxY() - size.height)};
}

OverlaySize OverlayPlacement::leetCodeSize(const Rect& visibleFrame) {
    return {std::max(1.0, std::min(1100.0, visibleFrame.width - 80)),
            std::max(1.0, std::min(800.0, visibleFrame.height - 100))};
}

OverlaySize OverlayPlacement::resultSize(ResultKind kind, const Rect& visibleFrame) {
    switch (kind) {
    case ResultKind::choice:
        return {360, 210};
    case ResultKind::answers:
        return {500, 280};
    case ResultKind::leetCode:
        return leetCodeSize(visibleFrame);
    case ResultKind::text:
        break;
    }
    return {500, 250};
}

OverlaySize OverlayPlacement::notesStatusSize(const Rect& visibleFrame) {
    return {std::min(620.0, std::max(1.0, visibleFrame.width - 80)), 132};
}

PanelRequest OverlayPlacement::working(const OverlayScreen& screen, const AppSettings& settings) {
    PanelRequest request =
        placed(screen, {400, 112}, settings.overlayPosition, workingCornerRadius);
    request.hasShadow = drawsPanelChrome(settings.overlayBackground);
    return request;
}

PanelRequest OverlayPlacement::result(ResultKind kind, const OverlayScreen& screen,
                                      const AppSettings& settings) {
    PanelRequest request = placed(screen, resultSize(kind, screen.visibleFrame),
                                  settings.overlayPosition, ResultOverlayLayout::cornerRadius);
    request.isInteractive = true;
    request.hasShadow = drawsPanelChrome(settings.overlayBackground);
    return request;
}

PanelRequest OverlayPlacement::error(const OverlayScreen& screen, const AppSettings& settings) {
    PanelRequest request =
        placed(screen, {560, 240}, settings.overlayPosition, ResultOverlayLayout::cornerRadius);
    request.isInteractive = true;
    request.hasShadow = true;
    return request;
}

PanelRequest OverlayPlacement::notesStatus(const OverlayScreen& screen) {
    PanelRequest request = placed(screen, notesStatusSize(screen.visibleFrame),
                                  OverlayPosition::topCenter, notesStatusCornerRadius);
    request.isInteractive = true;
    request.hasShadow = true;
    return request;
}

PanelRequest OverlayPlacement::authenticationRequired(const OverlayScreen& screen,
                                                      const AppSettings& settings) {
    return accountPanel(screen, settings, {430, 190});
}

PanelRequest OverlayPlacement::deviceEvicted(const OverlayScreen& screen,
                                             const AppSettings& settings) {
    return accountPanel(screen, settings, {430, 205});
}

} // namespace lumivane
