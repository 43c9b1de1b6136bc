#pragma once

#include "platform/ApplicationShell.h"

#include <QPalette>

#include <functional>

namespace lumivane {

/// The toolkit's application object. The toolkit has no dresses of its own, so it is told the
/// colours of each.
class QtApplicationShell final : public ApplicationShell {
public:
    /// The application object exists.
    explicit QtApplicationShell(std::function<QPalette(Appearance)> paletteFor);

    void setAppearance(Appearance appearance) override;
    void terminate() override;

private:
    std::function<QPalette(Appearance)> m_paletteFor;
};

} // namespace lumivane
