#pragma once

#include "server/accounts/UserSummary.h"
#include "server/store/WallClock.h"

#include <string>

namespace lumivane::service {

/// The tokens of a session, raw: the only time that they exist outside the client.
struct IssuedTokens {
    std::string accessToken;
    std::string refreshToken;
    WallTime accessExpiresAt;
    WallTime refreshExpiresAt;
};

/// A whole login, as a client keeps it.
struct IssuedLogin {
    IssuedTokens tokens;
    UserSummary user;
};

/// A machine that holds or once held an account.
struct KnownDevice {
    std::string identifier;
    std::string name;
    std::string kind;
    std::string osVersion;
    WallTime registeredAt;
    WallTime lastSeenAt;
};

/// Another machine holds the account; with the ticket it can be moved to this one.
struct TakeoverOffer {
    std::string ticket;
    WallTime expiresAt;
    KnownDevice currentDevice;
};

/// The JSON bodies of the above.
std::string encodeLogin(const IssuedLogin& login);
std::string encodeTakeoverOffer(const TakeoverOffer& offer);

} // namespace lumivane::service
