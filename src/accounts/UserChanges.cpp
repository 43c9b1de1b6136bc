#include "accounts/UserChanges.h"

#include <utility>

namespace lumivane {

namespace {

QCoro::Task<void> perform(QPointer<SessionKeeper> keeper, SessionEpoch epoch,
                          UserChanges::Change change) {
    epoch.require();
    if (!change.isWanted()) {
        throw Cancelled{};
    }
    UserSummary user = co_await requestInSession<UserSummary>(epoch, UnlockPrompt::allowed,
                                                              change.send, std::stop_token());
    epoch.require();
    keeper->replaceUser(std::move(user));
}

} // namespace

QCoro::Task<void> UserChanges::make(Change change) {
    if (m_lineGeneration != m_keeper.generation()) {
        m_lineGeneration = m_keeper.generation();
        m_line = SerialCalls();
    }
    const SerialCalls::Call call = [keeper = QPointer(&m_keeper), epoch = SessionEpoch(m_keeper),
                                    change = std::move(change)](std::stop_token) {
        return perform(keeper, epoch, change);
    };
    return m_line.run(call, std::stop_token());
}

} // namespace lumivane
