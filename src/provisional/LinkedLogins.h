#pragma once

#include "accounts/AuthenticationCoordinator.h"

#include <QVBoxLayout>
#include <QWidget>

#include <optional>
#include <vector>

namespace lumivane {

/// Which logins an account has, and which it could have. Main thread.
class LinkedLogins final : public QWidget {
    Q_OBJECT

public:
    /// `account` outlives this and the flows that it starts.
    explicit LinkedLogins(AuthenticationCoordinator& account);

private:
    /// What the rows were made of.
    struct Basis {
        std::vector<AuthProvider> linked;
        ProviderAvailability offered;

        bool operator==(const Basis&) const = default;
    };

    void showRows();
    void showAvailability(const ProviderAvailability& offered);
    void showLinked(AuthProvider provider, bool isOnly);
    void confirmUnlink(AuthProvider provider);

    AuthenticationCoordinator& m_account;
    const AccountStatus& m_status;
    QVBoxLayout* m_rows = nullptr;
    std::optional<Basis> m_shown;
};

} // namespace lumivane
