#include "accounts/SecretBytes.h"

#include "domain/SecretText.h"

namespace lumivane {

void SecretBytes::overwrite() {
    if (m_bytes.isDetached()) {
        overwriteWithZeros(m_bytes);
    }
}

} // namespace lumivane
