#include "server/upstream/NameResolver.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace lumivane::service {

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;

namespace {

constexpr std::size_t mostThreads = 4;

} // namespace

// One question. Who asked may leave while a thread is still at it.
struct NameResolver::Lookup {
    Lookup(std::string name, std::uint16_t portNumber, asio::steady_timer& wakes)
        : host(std::move(name))
        , port(portNumber)
        , waker(&wakes) {}

    // On a thread of the queue, which has the right to the timer's context only until who asked
    // has left.
    static void finish(const std::shared_ptr<Lookup>& lookup, UpstreamAddresses found) {
        const std::lock_guard lock(lookup->mutex);
        if (lookup->waker == nullptr) {
            return;
        }
        lookup->addresses = std::move(found);
        asio::post(lookup->waker->get_executor(), [lookup] { lookup->wake(); });
    }

    // On the network thread.
    void wake() {
        const std::lock_guard lock(mutex);
        if (waker != nullptr) {
            waker->expires_at(asio::steady_timer::time_point::min());
        }
    }

    bool isLeft() {
        const std::lock_guard lock(mutex);
        return waker == nullptr;
    }

    // What came, if anything did.
    UpstreamAddresses leave() {
        const std::lock_guard lock(mutex);
        waker = nullptr;
        return std::move(addresses);
    }

    const std::string host;
    const std::uint16_t port;
    std::mutex mutex;
    asio::steady_timer* waker; // none once nobody waits any more
    UpstreamAddresses addresses;
};

// Leaves the lookup however waiting for it ends, also by the end of the whole context.
struct NameResolver::Asking {
    explicit Asking(std::shared_ptr<Lookup> asked)
        : lookup(std::move(asked)) {}

    ~Asking() { lookup->leave(); }

    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    std::shared_ptr<Lookup> lookup;
};

// Outlives the resolver for as long as one of its threads is held up.
struct NameResolver::Queue : std::enable_shared_from_this<Queue> {
    explicit Queue(NameLookup function)
        : lookup(std::move(function)) {}

    void add(std::shared_ptr<Lookup> question) {
        const std::lock_guard lock(mutex);
        waiting.push_back(std::move(question));
        if (idle < waiting.size() && threads < mostThreads) {
            ++threads;
            std::thread([self = shared_from_this()] { self->work(); }).detach();
        }
        wake.notify_one();
    }

    void close() {
        const std::lock_guard lock(mutex);
        isClosed = true;
        wake.notify_all();
    }

    void work() {
        while (const auto question = next()) {
            if (!question->isLeft()) {
                Lookup::finish(question, lookUp(*question));
            }
        }
    }

    std::shared_ptr<Lookup> next() {
        std::unique_lock lock(mutex);
        ++idle;
        wake.wait(lock, [this] { return isClosed || !waiting.empty(); });
        --idle;
        if (isClosed) {
            return nullptr;
        }
        auto question = std::move(waiting.front());
        waiting.pop_front();
        return question;
    }

    UpstreamAddresses lookUp(const Lookup& question) const {
        try {
            return lookup(question.host, question.port);
        } catch (const std::exception&) {
            return {};
        }
    }

    const NameLookup lookup;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::shared_ptr<Lookup>> waiting;
    std::size_t idle = 0;
    std::size_t threads = 0;
    bool isClosed = false;
};

NameResolver::NameResolver(NameLookup lookup)
    : m_queue(std::make_shared<Queue>(std::move(lookup))) {}

NameResolver::~NameResolver() { m_queue->close(); }

asio::awaitable<UpstreamAddresses> NameResolver::resolve(std::string host, std::uint16_t port) {
    error_code error;
    const auto literal = asio::ip::make_address(host, error);
    if (!error) {
        co_return UpstreamAddresses{tcp::endpoint(literal, port)};
    }
    asio::steady_timer waker(co_await asio::this_coro::executor);
    waker.expires_at(asio::steady_timer::time_point::max());
    const auto lookup = std::make_shared<Lookup>(std::move(host), port, waker);
    const Asking asking{lookup};
    m_queue->add(lookup);
    constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
    co_await waker.async_wait(asTuple);
    co_return lookup->leave();
}

UpstreamAddresses kindsByTurns(const UpstreamAddresses& addresses) {
    UpstreamAddresses first;
    UpstreamAddresses second;
    for (const tcp::endpoint& address : addresses) {
        const bool isFirstKind = address.protocol() == addresses.front().protocol();
        (isFirstKind ? first : second).push_back(address);
    }
    UpstreamAddresses mixed;
    for (std::size_t index = 0; index < std::max(first.size(), second.size()); ++index) {
        for (const UpstreamAddresses* kind : {&first, &second}) {
            if (index < kind->size()) {
                mixed.push_back(kind->at(index));
            }
        }
    }
    return mixed;
}

UpstreamAddresses systemNameLookup(const std::string& host, std::uint16_t port) {
    asio::io_context context;
    tcp::resolver resolver(context);
    error_code error;
    UpstreamAddresses addresses;
    for (const auto& entry : resolver.resolve(host, std::to_string(port), error)) {
        addresses.push_back(entry.endpoint());
    }
    return addresses;
}

} // namespace lumivane::service
