#include "support/SignedInHome.h"

#include "accounts/AccountCoding.h"
#include "accounts/KeychainCredentialStore.h"

namespace lumivane::test {

SignedInHome::SignedInHome(const XServer& display)
    : m_home(display) {
    m_keyring.storeByTool(KeychainCredentialStore::service, KeychainCredentialStore::account,
                          encodeSecretJson(m_accounts.session()),
                          u"com.marnoth.Lumivane.SecretItem"_qs);
    m_home.setSessionBus(m_bus.address());
    m_home.setService(m_accounts.baseURL());
}

} // namespace lumivane::test
