#include "platform/linux/Replacement.h"

#include "platform/linux/SessionInstance.h"

#include <algorithm>
#include <utility>

namespace lumivane {

std::optional<Replacement> Replacement::fromArguments(const QStringList& arguments) {
    const auto found =
        std::find_if(arguments.begin(), arguments.end(),
                     [](const QString& argument) { return argument.startsWith(switchPrefix()); });
    if (found == arguments.end()) {
        return std::nullopt;
    }
    bool isNumber = false;
    const int descriptor = found->mid(switchPrefix().size()).toInt(&isNumber);
    auto channel = isNumber ? HandOverChannel::inherited(descriptor) : std::nullopt;
    return channel ? std::optional(Replacement(std::move(*channel))) : std::nullopt;
}

bool Replacement::takeOver(SessionInstance& instance, const Clock& clock,
                           std::chrono::milliseconds patience) {
    using Reading = HandOverChannel::Reading;
    HandOverChannel::Message message;
    m_channel.send(HandOverWord::running);
    const Reading first = m_channel.await(message, clock, clock.now() + patience);
    if (first == Reading::nothing) {
        return false;
    }
    if (first == Reading::end || message.word != HandOverWord::yours) {
        m_channel.close(); // with the lock, should it still be on its way
        return instance.claim() == SessionInstance::Claim::granted;
    }
    if (instance.adopt(std::move(message.lock)) != SessionInstance::Claim::granted) {
        return false;
    }
    if (m_channel.send(HandOverWord::granted)) {
        m_channel.await(message, clock, clock.now() + patience);
    }
    m_channel.close();
    return true;
}

} // namespace lumivane
