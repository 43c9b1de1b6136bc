#pragma once

#include "domain/ClosedSet.h"
#include "domain/SecretText.h"

#include <QString>
#include <qcoro/qcorotask.h>

#include <array>
#include <optional>
#include <stop_token>
#include <string_view>

namespace lumivane {

/// What came of a request to the user's keyring.
enum class SecretItemStatus {
    success,
    itemNotFound,
    duplicateItem,
    interactionNotAllowed, ///< locked, or to be set up first: nothing goes on without the user
    unavailable,           ///< no keyring here, or none that answers in time
    other                  ///< the keyring said no for a reason of its own
};

namespace tables {

struct SecretItemStatusRow {
    SecretItemStatus value;
    std::string_view rawValue;
};

inline constexpr std::array secretItemStatus{
    SecretItemStatusRow{SecretItemStatus::success, "success"},
    SecretItemStatusRow{SecretItemStatus::itemNotFound, "itemNotFound"},
    SecretItemStatusRow{SecretItemStatus::duplicateItem, "duplicateItem"},
    SecretItemStatusRow{SecretItemStatus::interactionNotAllowed, "interactionNotAllowed"},
    SecretItemStatusRow{SecretItemStatus::unavailable, "unavailable"},
    SecretItemStatusRow{SecretItemStatus::other, "other"},
};

static_assert(isInCaseOrder(secretItemStatus));

} // namespace tables

constexpr const auto& closedSetTable(SecretItemStatus) { return tables::secretItemStatus; }

/// What tells one item from all others of this user.
struct SecretItemKey {
    QString service;
    QString account;

    bool operator==(const SecretItemKey&) const = default;
};

/// When an item can be read, and where.
enum class SecretItemAccessibility { whenUnlocked, whenUnlockedThisDeviceOnly };

/// Whether an item goes to the user's other machines.
enum class SecretItemSynchronisation { no, yes };

/// How an item is kept. Set when it is added; an update leaves it as it is.
struct SecretItemAttributes {
    SecretItemAccessibility accessibility = SecretItemAccessibility::whenUnlockedThisDeviceOnly;
    SecretItemSynchronisation synchronisation = SecretItemSynchronisation::no;

    bool operator==(const SecretItemAttributes&) const = default;
};

/// What was found. `data` is there with `success` alone, and not always then.
struct SecretItemCopy {
    SecretItemStatus status = SecretItemStatus::itemNotFound;
    std::optional<SecretText> data;

    bool operator==(const SecretItemCopy&) const = default;
};

/// Whether the user may be asked to unlock the keyring. Only something that the user has just done
/// may lead to a question; whatever the program does by itself comes back with
/// `interactionNotAllowed` instead.
enum class UnlockPrompt { never, allowed };

/// Small secrets in the keyring of this user: mechanism only.
///
/// Main thread, which none of it blocks. Without a question to the user every call ends within a
/// few seconds, whatever the keyring does. Failures are statuses; a requested stop ends the wait
/// with Cancelled, and whether the call has had its effect by then is open. Nothing is thrown
/// besides. Calls under way at the same time are not put in any order.
class SecretItemStore {
public:
    virtual ~SecretItemStore() = default;

    /// The data of one item.
    virtual QCoro::Task<SecretItemCopy> copyMatching(SecretItemKey key, UnlockPrompt prompt,
                                                     std::stop_token stop) = 0;

    /// Makes an item; `duplicateItem` where there is one with this key.
    virtual QCoro::Task<SecretItemStatus> add(SecretItemKey key, SecretText data,
                                              SecretItemAttributes attributes, UnlockPrompt prompt,
                                              std::stop_token stop) = 0;

    /// Replaces the data of an item in place.
    virtual QCoro::Task<SecretItemStatus> update(SecretItemKey key, SecretText data,
                                                 UnlockPrompt prompt, std::stop_token stop) = 0;

    /// Removes every item with this key; `itemNotFound` where there is none.
    virtual QCoro::Task<SecretItemStatus> remove(SecretItemKey key, UnlockPrompt prompt,
                                                 std::stop_token stop) = 0;
};

} // namespace lumivane
