#include "server/accounts/LoginRecords.h"

#include "server/accounts/WireTime.h"

#include <boost/json/serialize.hpp>

namespace lumivane::service {

std::string encodeLogin(const IssuedLogin& login) {
    boost::json::object record;
    record["access_token"] = login.tokens.accessToken;
    record["refresh_token"] = login.tokens.refreshToken;
    record["token_type"] = "Bearer";
    record["access_expires_at"] = wireTime(login.tokens.accessExpiresAt);
    record["refresh_expires_at"] = wireTime(login.tokens.refreshExpiresAt);
    record["user"] = encodeUser(login.user);
    return boost::json::serialize(record);
}

std::string encodeTakeoverOffer(const TakeoverOffer& offer) {
    boost::json::object device;
    device["name"] = offer.currentDevice.name;
    device["kind"] = offer.currentDevice.kind;
    device["os_version"] = offer.currentDevice.osVersion;
    device["last_seen_at"] = wireTime(offer.currentDevice.lastSeenAt);
    boost::json::object record;
    record["status"] = "device_takeover_required";
    record["takeover_ticket"] = offer.ticket;
    record["expires_at"] = wireTime(offer.expiresAt);
    record["current_device"] = std::move(device);
    return boost::json::serialize(record);
}

} // namespace lumivane::service
