#include "application/ApplicationPalette.h"

#include "ui/identity/LumivaneTheme.h"
#include "ui/identity/PaintColor.h"

namespace lumivane {

QPalette applicationPalette(Appearance appearance) {
    using namespace LumivaneTheme;
    QPalette palette;
    const auto set = [&](QPalette::ColorRole role, const ThemeColor& color) {
        palette.setColor(role, paintColor(color.resolved(appearance)));
    };
    set(QPalette::Window, surfaceWindow);
    set(QPalette::WindowText, textPrimary);
    set(QPalette::Base, surfaceControl);
    set(QPalette::AlternateBase, surfaceInset);
    set(QPalette::Text, textPrimary);
    set(QPalette::PlaceholderText, textTertiary);
    set(QPalette::Button, surfaceControl);
    set(QPalette::ButtonText, textPrimary);
    set(QPalette::ToolTipBase, surfaceCard);
    set(QPalette::ToolTipText, textPrimary);
    set(QPalette::Highlight, accentFill);
    set(QPalette::HighlightedText, accentOnFill);
    set(QPalette::Link, accentStatusText);
    // Edges, and what some styles draw behind words that cannot be chosen.
    set(QPalette::Light, surfaceControl);
    set(QPalette::Midlight, surfaceControlHover);
    set(QPalette::Mid, surfaceControlBorder);
    set(QPalette::Dark, surfaceCardBorder);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, paintColor(textTertiary.resolved(appearance)));
    }
    return palette;
}

} // namespace lumivane
