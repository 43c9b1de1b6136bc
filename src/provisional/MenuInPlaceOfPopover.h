#pragma once

#include "ui/PopoverPresenting.h"

#include <functional>

namespace lumivane {

/// Stands in for the popover: a primary click opens the menu as well.
class MenuInPlaceOfPopover final : public PopoverPresenting {
public:
    void toggle(const QRect&) override { openMenu(); }

    void close() override {}

    bool isShown() const override { return false; }

    std::function<void()> openMenu; ///< set before the first click
};

} // namespace lumivane
