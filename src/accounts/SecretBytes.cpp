#include "accounts/SecretBytes.h"

#include "domain/SecretText.h"

namespace lumivane {

SecretBytes::~SecretBytes() {
    if (m_bytes.isDetached()) {
        overwriteWithZeros(m_bytes);
    }
}

} // namespace lumivane
