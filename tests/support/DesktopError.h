#pragma once

#include "domain/DescribedError.h"

#include <string_view>

namespace lumivane::test {

/// What the desktop throws at a login item or a relaunch.
class DesktopError final : public DescribedError {
public:
    QString errorDescription() const override { return u"The desktop refused."_qs; }

    std::string_view typeName() const override { return "DesktopError"; }
};

} // namespace lumivane::test
