#include "server/http/RequestReader.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <algorithm>
#include <array>
#include <optional>

namespace lumivane::service {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;
using Outcome = ReadResult::Outcome;

namespace {

constexpr std::size_t headStep = 4 * 1024;
constexpr std::size_t bodyStep = 64 * 1024;
// What a client may send ahead while its present request is at work.
constexpr std::size_t readAheadLimit = 64 * 1024;
constexpr std::size_t bufferLimit = 256 * 1024;

using Fields = http::request<http::string_body>;

HttpMethod methodOf(http::verb verb) {
    switch (verb) {
    case http::verb::get:
        return HttpMethod::get;
    case http::verb::head:
        return HttpMethod::head;
    case http::verb::post:
        return HttpMethod::post;
    case http::verb::put:
        return HttpMethod::put;
    case http::verb::patch:
        return HttpMethod::patch;
    case http::verb::delete_:
        return HttpMethod::remove;
    case http::verb::options:
        return HttpMethod::options;
    default:
        return HttpMethod::other;
    }
}

std::optional<std::string> onlyField(const Fields& request, http::field name) {
    if (request.count(name) != 1) {
        return std::nullopt;
    }
    return std::string(request[name]);
}

// Where it matters that a field was there at all, a repeated one must not count as absent.
std::optional<std::string> plainField(const Fields& request, http::field name) {
    if (request.count(name) == 0) {
        return std::nullopt;
    }
    return onlyField(request, name).value_or(std::string());
}

template <typename Name>
std::optional<std::string> joinedField(const Fields& request, Name name) {
    std::optional<std::string> joined;
    const auto [first, last] = request.equal_range(name);
    for (auto field = first; field != last; ++field) {
        joined = (joined ? *joined + ", " : std::string()) + std::string(field->value());
    }
    return joined;
}

constexpr std::array proxyFields{"X-Forwarded-For", "Forwarded", "Via", "X-Real-IP"};

RequestHead headOf(const Fields& request) {
    RequestHead head;
    head.method = methodOf(request.method());
    head.target = std::string(request.target());
    head.host = onlyField(request, http::field::host);
    head.authorization = plainField(request, http::field::authorization);
    head.contentType = onlyField(request, http::field::content_type);
    head.contentEncoding = joinedField(request, http::field::content_encoding);
    head.expect = joinedField(request, http::field::expect);
    head.ifNoneMatch = joinedField(request, http::field::if_none_match);
    head.origin = plainField(request, http::field::origin);
    head.cookie = onlyField(request, http::field::cookie);
    head.forwardedFor = joinedField(request, "X-Forwarded-For");
    head.hasProxyFields =
        std::any_of(proxyFields.begin(), proxyFields.end(),
                    [&](const char* name) { return request.find(name) != request.end(); });
    return head;
}

// What the parser lets through and two readers could take for two different requests.
bool isAmbiguous(const Fields& request) {
    const auto transfer = joinedField(request, http::field::transfer_encoding);
    if (transfer && !boost::algorithm::iequals(*transfer, "chunked")) {
        return true;
    }
    if (request.count(http::field::content_length) > 1) {
        return true;
    }
    const std::size_t hosts = request.count(http::field::host);
    return hosts > 1 || (hosts == 0 && request.version() >= 11);
}

ReadEnd endOf(Outcome outcome) {
    return outcome == Outcome::timedOut ? ReadEnd::timedOut : ReadEnd::closed;
}

ReadEnd endOf(const error_code& error) {
    const bool tooLarge = error == http::error::header_limit || error == http::error::body_limit;
    return tooLarge ? ReadEnd::tooLarge : ReadEnd::malformed;
}

} // namespace

class RequestReader::Impl {
public:
    Impl(ConnectionStream& connection, const ServerLimits& bounds, BodyBudget& budget)
        : stream(connection)
        , limits(bounds)
        , share(budget) {}

    asio::awaitable<Outcome> readMore(std::size_t step) {
        const std::size_t room = std::min(step, buffer.max_size() - buffer.size());
        const ReadResult result = co_await stream.readSome(buffer.prepare(room));
        buffer.commit(result.bytes);
        co_return result.outcome;
    }

    // One step of the parser over what is there. True when it wants more bytes than there are.
    bool parse(error_code& error) {
        const std::size_t used = parser->put(buffer.data(), error);
        buffer.consume(used);
        if (error == http::error::need_more) {
            error = {};
            return true;
        }
        return false;
    }

    void startRequest() {
        parser.emplace();
        parser->header_limit(limits.headerBytes);
        // The body's limit is put on once it is known that the body is wanted at all.
        parser->body_limit(boost::none);
        parser->eager(false);
    }

    ConnectionStream& stream;
    const ServerLimits& limits;
    BodyBudget::Share share;
    boost::beast::flat_buffer buffer{bufferLimit};
    std::optional<http::request_parser<http::string_body>> parser;
    RequestHead head;
};

RequestReader::RequestReader(ConnectionStream& stream, const ServerLimits& limits,
                             BodyBudget& budget)
    : m_impl(std::make_unique<Impl>(stream, limits, budget)) {}

RequestReader::~RequestReader() = default;

asio::awaitable<bool> RequestReader::waitForFirstByte() {
    Impl& impl = *m_impl;
    if (impl.buffer.size() > 0) {
        co_return true;
    }
    impl.buffer.shrink_to_fit();
    impl.stream.arm(impl.limits.idle, ConnectionStream::AtDeadline::breakOffRead);
    const Outcome outcome = co_await impl.readMore(headStep);
    impl.stream.disarm();
    co_return outcome == Outcome::data;
}

asio::awaitable<ReadEnd> RequestReader::readHead() {
    Impl& impl = *m_impl;
    impl.startRequest();
    std::size_t headBytes = 0;
    impl.stream.arm(impl.limits.header, ConnectionStream::AtDeadline::breakOffRead);
    while (!impl.parser->is_header_done()) {
        error_code error;
        const std::size_t before = impl.buffer.size();
        const bool wantsMore = impl.parse(error);
        headBytes += before - impl.buffer.size();
        // The parser's own limit is for what it holds at one time, not for all fields together.
        const bool isUnfinished = !impl.parser->is_header_done();
        const std::size_t known = headBytes + (isUnfinished ? impl.buffer.size() : 0);
        if (!error && known > impl.limits.headerBytes) {
            error = http::error::header_limit;
        }
        if (error) {
            co_return endOf(error);
        }
        if (wantsMore && isUnfinished) {
            const Outcome outcome = co_await impl.readMore(headStep);
            if (outcome != Outcome::data) {
                co_return endOf(outcome);
            }
        }
    }
    impl.stream.disarm();
    impl.head = headOf(impl.parser->get());
    co_return isAmbiguous(impl.parser->get()) ? ReadEnd::malformed : ReadEnd::complete;
}

const RequestHead& RequestReader::head() const { return m_impl->head; }

bool RequestReader::keepsAlive() const { return m_impl->parser->get().keep_alive(); }

bool RequestReader::isBodyOutstanding() const {
    const auto& parser = *m_impl->parser;
    const bool announced = parser.chunked() || announcedBodyBytes() > 0;
    return announced && !parser.is_done();
}

std::uint64_t RequestReader::announcedBodyBytes() const {
    return m_impl->parser->content_length().value_or(0);
}

bool RequestReader::wantsContinue() const {
    return m_impl->head.expect.has_value() && isBodyOutstanding() && m_impl->buffer.size() == 0 &&
           m_impl->parser->get().version() >= 11;
}

asio::awaitable<ReadEnd> RequestReader::readBody(std::uint64_t limit) {
    Impl& impl = *m_impl;
    auto& parser = *impl.parser;
    if (announcedBodyBytes() > limit) {
        co_return ReadEnd::tooLarge;
    }
    // By the bytes that come, since announcing many costs a client nothing.
    const auto size =
        limit <= impl.limits.smallBodyBytes ? BodyBudget::Size::small : BodyBudget::Size::large;
    parser.body_limit(limit);
    parser.eager(true);
    impl.stream.arm(impl.limits.body, ConnectionStream::AtDeadline::breakOffRead);
    while (!parser.is_done()) {
        error_code error;
        const bool wantsMore = impl.parse(error);
        if (error) {
            co_return endOf(error);
        }
        if (!impl.share.growTo(parser.get().body().size(), size)) {
            co_return ReadEnd::overBudget;
        }
        if (impl.buffer.size() == impl.buffer.max_size()) {
            co_return ReadEnd::malformed;
        }
        if (!parser.is_done() && (wantsMore || impl.buffer.size() == 0)) {
            const Outcome outcome = co_await impl.readMore(bodyStep);
            if (outcome != Outcome::data) {
                co_return endOf(outcome);
            }
        }
    }
    impl.stream.disarm();
    co_return ReadEnd::complete;
}

std::string RequestReader::takeBody() { return std::move(m_impl->parser->get().body()); }

void RequestReader::finishRequest() {
    m_impl->share.release();
    m_impl->parser.reset();
}

asio::awaitable<void> RequestReader::watchForDisconnect() {
    Impl& impl = *m_impl;
    while (impl.buffer.size() < readAheadLimit) {
        if (co_await impl.readMore(headStep) != Outcome::data) {
            co_return;
        }
    }
}

asio::awaitable<void> RequestReader::discardRest() {
    Impl& impl = *m_impl;
    std::array<char, headStep> scrap{};
    impl.stream.arm(impl.limits.linger, ConnectionStream::AtDeadline::breakOffRead);
    ReadResult result;
    do {
        result = co_await impl.stream.readSome(asio::buffer(scrap));
    } while (result.outcome == Outcome::data);
    impl.stream.disarm();
}

} // namespace lumivane::service
