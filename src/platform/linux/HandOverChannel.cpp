#include "platform/linux/HandOverChannel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <system_error>

namespace lumivane {

namespace {

constexpr std::array words{HandOverWord::running, HandOverWord::yours, HandOverWord::granted};

/// Room for one descriptor in a message.
struct Attachment {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> bytes{};
};

int option(int descriptor, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    return ::getsockopt(descriptor, SOL_SOCKET, name, &value, &size) == 0 ? value : -1;
}

/// A pair's end has a peer without a name, made by a process of this user's.
bool isEndOfPair(int descriptor) {
    sockaddr_un peer{};
    socklen_t size = sizeof peer;
    ucred maker{};
    socklen_t makerSize = sizeof maker;
    return option(descriptor, SO_DOMAIN) == AF_UNIX &&
           option(descriptor, SO_TYPE) == SOCK_SEQPACKET &&
           option(descriptor, SO_ACCEPTCONN) == 0 &&
           ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
           size == offsetof(sockaddr_un, sun_path) &&
           ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &maker, &makerSize) == 0 &&
           maker.uid == ::geteuid();
}

/// What came along, all of it taken so that nothing stays open.
OwnedDescriptor attachedTo(msghdr& header) {
    OwnedDescriptor found;
    for (cmsghdr* part = CMSG_FIRSTHDR(&header); part != nullptr;
         part = CMSG_NXTHDR(&header, part)) {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(part), sizeof descriptor);
            found = OwnedDescriptor(descriptor);
        }
    }
    return found;
}

} // namespace

std::pair<HandOverChannel, HandOverChannel> HandOverChannel::makePair() {
    std::array<int, 2> ends{-1, -1};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "socketpair");
    }
    return {HandOverChannel(OwnedDescriptor(ends[0])), HandOverChannel(OwnedDescriptor(ends[1]))};
}

std::optional<HandOverChannel> HandOverChannel::inherited(int descriptor) {
    if (descriptor <= STDERR_FILENO || !isEndOfPair(descriptor) ||
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC) != 0) {
        return std::nullopt;
    }
    return HandOverChannel(OwnedDescriptor(descriptor));
}

bool HandOverChannel::send(HandOverWord word, int lock) const {
    auto letter = static_cast<char>(word);
    iovec content{&letter, 1};
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    Attachment attachment;
    if (lock >= 0) {
        header.msg_control = attachment.bytes.data();
        header.msg_controllen = attachment.bytes.size();
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof lock);
        std::memcpy(CMSG_DATA(part), &lock, sizeof lock);
    }
    return ::sendmsg(m_descriptor.get(), &header, MSG_NOSIGNAL | MSG_DONTWAIT) == 1;
}

HandOverChannel::Reading HandOverChannel::read(Message& message) const {
    char letter = 0;
    iovec content{&letter, 1};
    Attachment attachment;
    msghdr header{};
    header.msg_iov = &content;
    header.msg_iovlen = 1;
    header.msg_control = attachment.bytes.data();
    header.msg_controllen = attachment.bytes.size();
    ssize_t size = ::recvmsg(m_descriptor.get(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size < 0 && errno == ECONNRESET) {
        // It went without having read everything. That is told once, before what it had sent.
        size = ::recvmsg(m_descriptor.get(), &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    }
    if (size < 0) {
        return errno == EAGAIN || errno == EINTR ? Reading::nothing : Reading::end;
    }
    message.lock = attachedTo(header);
    message.word = static_cast<HandOverWord>(letter);
    const bool isWord = size == 1 && (header.msg_flags & MSG_TRUNC) == 0 &&
                        std::find(words.begin(), words.end(), message.word) != words.end();
    return isWord ? Reading::message : Reading::end;
}

HandOverChannel::Reading HandOverChannel::await(Message& message, const Clock& clock,
                                                MonotonicInstant deadline) const {
    using std::chrono::milliseconds;
    Reading reading = read(message);
    while (reading == Reading::nothing && clock.now() < deadline) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - clock.now());
        pollfd waiting{m_descriptor.get(), POLLIN, 0};
        ::poll(&waiting, 1, int(left.count()));
        reading = read(message);
    }
    return reading;
}

} // namespace lumivane
