#include "overlays/AccountPanelModel.h"

#include <utility>

namespace lumivane {

std::shared_ptr<AccountPanelModel>
AccountPanelModel::authenticationRequired(std::function<void()> onLogin,
                                          std::function<void()> onDismiss) {
    return std::make_shared<AccountPanelModel>(
        AccountPanelWords{
            .identifier = u"authenticationRequiredPopup"_qs,
            .symbol = u"person.crop.circle.badge.exclamationmark"_qs,
            .eyebrow = u"LOGIN REQUIRED"_qs,
            .headline = u"Log in to Lumivane to analyze this screen."_qs,
            .body = u"Nothing was captured or sent."_qs,
            .spoken = {},
            .dismissIdentifier = u"authenticationRequiredDismiss"_qs,
            .actionLabel = u"Log in"_qs,
            .actionIdentifier = u"authenticationRequiredLogin"_qs,
        },
        std::move(onLogin), std::move(onDismiss));
}

std::shared_ptr<AccountPanelModel>
AccountPanelModel::deviceEvicted(DeviceEvictedOrigin origin, std::function<void()> onOpenAccount,
                                 std::function<void()> onDismiss) {
    return std::make_shared<AccountPanelModel>(
        AccountPanelWords{
            .identifier = u"deviceEvictedPopup"_qs,
            .symbol = u"laptopcomputer.slash"_qs,
            .eyebrow = u"SIGNED IN ELSEWHERE"_qs,
            .headline = u"You signed in on another Mac."_qs,
            .body = u"Lumivane is signed in there now, so this Mac has been signed out. "
                    u"Log in again here to move it back. "_qs +
                    reassurance(origin),
            .spoken = u"You signed in on another Mac. Lumivane is signed in there now."_qs,
            .dismissIdentifier = u"deviceEvictedDismiss"_qs,
            .actionLabel = u"Log in again"_qs,
            .actionIdentifier = u"deviceEvictedLogIn"_qs,
        },
        std::move(onOpenAccount), std::move(onDismiss));
}

AccountPanelModel::AccountPanelModel(AccountPanelWords words, std::function<void()> onAction,
                                     std::function<void()> onDismiss)
    : m_words(std::move(words))
    , m_onAction(std::move(onAction))
    , m_onDismiss(std::move(onDismiss)) {}

void AccountPanelModel::act() {
    if (m_onAction) {
        m_onAction();
    }
}

void AccountPanelModel::dismiss() {
    if (m_onDismiss) {
        m_onDismiss();
    }
}

QString reassurance(DeviceEvictedOrigin origin) {
    return origin == DeviceEvictedOrigin::beforeCapture
               ? u"Nothing was captured."_qs
               : u"The screenshot was not analysed and was not stored."_qs;
}

} // namespace lumivane
