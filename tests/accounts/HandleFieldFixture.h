#pragma once

#include "accounts/AccountPartsFixture.h"
#include "accounts/HandleField.h"

namespace lumivane::test {

/// The field of the handle of "ada", with no filter.
class HandleFieldFixture : public AccountPartsFixture {
protected:
    using State = ProfileFieldState;

    HandleFieldFixture() {
        keeper.onForgetting = [this] {
            if (field) {
                field->forget();
            }
        };
        QObject::connect(&status, &AccountStatus::handleStateChanged, &status,
                         [this] { shown.push_back(status.handleState()); });
        signIn();
    }

    void type(const QString& draft) {
        field->draftChanged(draft);
        drainEvents();
    }

    void commit(const QString& draft) { run(field->commit(draft)); }

    std::shared_ptr<Outcome<bool>> startCommit(const QString& draft) {
        return start(field->commit(draft));
    }

    /// "cedar" is typed and free.
    void typeFreeHandle(const QString& handle = u"cedar"_qs) {
        adoptFilter(false);
        type(handle);
        ASSERT_EQ(state(), State::available());
        service.profileScript.answerWith(userWith(handle));
        shown.clear();
    }

    /// A filter that takes everything for free, or nothing.
    void adoptFilter(bool isFull, const QString& version = u"v1"_qs) {
        checker.adopt(HandleFilterOutcome(filter(isFull, version)));
    }

    static HandleFilterPayload filter(bool isFull, const QString& version = u"v1"_qs) {
        return {version, 8, 2, u"h"_qs, u"00"_qs, isFull ? u"_w"_qs : u"AA"_qs};
    }

    static HandleAvailabilityResult availability(bool isAvailable,
                                                 std::optional<QString> reason = std::nullopt) {
        return {u"cedar"_qs, isAvailable, std::move(reason)};
    }

    /// The handles of one operation's requests, in order.
    QStringList sent(const QString& operation) const {
        QStringList handles;
        for (const auto& request : service.requestsTo(operation)) {
            handles.append(request.handle.value_or(u"(none)"_qs));
        }
        return handles;
    }

    QStringList asked() const { return sent(u"handleAvailability"_qs); }

    QStringList saved() const { return sent(u"updateProfile"_qs); }

    State state() const { return status.handleState(); }

    std::vector<ProfileFieldState> shown; ///< every state of the field, in order
    std::unique_ptr<HandleField> field =
        std::make_unique<HandleField>(ports, status, keeper, changes);
};

} // namespace lumivane::test
