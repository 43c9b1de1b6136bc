#include "accounts/AuthRequestBodies.h"

#include "accounts/SecretJson.h"

namespace lumivane {

namespace {

void writeDevice(JsonObjectWriter& writer, const DeviceRegistration& device) {
    writer.write("device_id", device.identifier)
        .write("device_name", device.name)
        .write("device_kind", device.kind)
        .write("device_os", device.osVersion);
}

} // namespace

Json AuthRequestBodies::transaction(AuthProvider provider, AuthIntent intent,
                                    const QString& codeChallenge) {
    return JsonObjectWriter()
        .write("provider", provider)
        .write("intent", intent)
        .write("code_challenge", codeChallenge)
        .write("code_challenge_method", u"S256"_qs)
        .take();
}

Json AuthRequestBodies::complete(const QString& transactionID, const SecretText& handoffCode,
                                 const SecretText& codeVerifier,
                                 const std::optional<DeviceRegistration>& device) {
    JsonObjectWriter writer;
    writer.write("transaction_id", transactionID)
        .write("handoff_code", handoffCode)
        .write("code_verifier", codeVerifier);
    if (device) {
        writeDevice(writer, *device);
    }
    return writer.take();
}

Json AuthRequestBodies::takeover(const DeviceRegistration& device) {
    JsonObjectWriter writer;
    writeDevice(writer, device);
    return writer.take();
}

Json AuthRequestBodies::profileUpdate(const std::optional<QString>& handle,
                                      const std::optional<QString>& displayName) {
    return JsonObjectWriter()
        .writeIfPresent("handle", handle)
        .writeIfPresent("display_name", displayName)
        .take();
}

Json AuthRequestBodies::handleAvailability(const QString& handle) {
    return JsonObjectWriter().write("handle", handle).take();
}

Json AuthRequestBodies::refresh(const SecretText& refreshToken, QUuid operationID) {
    return JsonObjectWriter()
        .write("refresh_token", refreshToken)
        .write("operation_id", operationID.toString(QUuid::WithoutBraces)) // in lower case
        .take();
}

Json AuthRequestBodies::refreshRevocation(const SecretText& refreshToken) {
    return JsonObjectWriter().write("refresh_token", refreshToken).take();
}

Json AuthRequestBodies::deletion(const SecretText& reauthProof) {
    return JsonObjectWriter().write("reauth_proof", reauthProof).take();
}

} // namespace lumivane
