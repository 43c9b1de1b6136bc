#pragma once

#include "analysis/LaunchAtLoginServing.h"
#include "platform/LoginItem.h"

namespace lumivane {

/// The program's start with the session, by its login item. Main thread.
///
/// It keeps no state: whatever the user changes in the desktop's own settings counts at once.
class LaunchAtLoginService final : public LaunchAtLoginServing {
public:
    /// `item` outlives the service.
    explicit LaunchAtLoginService(LoginItem& item)
        : m_item(item) {}

    bool isEnabled() const override;

    /// Throws what the item throws, std::system_error.
    void setEnabled(bool enabled) override;

private:
    LoginItem& m_item;
};

} // namespace lumivane
