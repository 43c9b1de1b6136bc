#pragma once

#include "platform/SecretItemStore.h"

#include <stop_token>

namespace lumivane {

/// What SecretServiceItemStore asks of the session's Secret Service (org.freedesktop.secrets).
///
/// Each call blocks until the service answers or a stop is requested; call it on a worker, several
/// at once if need be. Each uses a connection of its own, so that a service that was started anew
/// in between is nothing special. None but `unlock` ever asks the user anything. Never throws.
namespace SecretServiceCalls {

SecretItemCopy copyMatching(const SecretItemKey& key, const std::stop_token& stop);

/// Into the collection that the user has for such things.
SecretItemStatus add(const SecretItemKey& key, const SecretText& data, const std::stop_token& stop);

SecretItemStatus update(const SecretItemKey& key, const SecretText& data,
                        const std::stop_token& stop);

SecretItemStatus remove(const SecretItemKey& key, const std::stop_token& stop);

/// Asks the user to unlock what stands in the way of the calls above, or to set up a collection
/// where there is none, and waits for the answer.
SecretItemStatus unlock(const SecretItemKey& key, const std::stop_token& stop);

} // namespace SecretServiceCalls

} // namespace lumivane
