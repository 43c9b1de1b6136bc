#pragma once

#include "async/Completion.h"
#include "platform/HttpTransport.h"

#include <deque>
#include <exception>
#include <vector>

namespace lumivane::test {

/// A transport without a network: keeps what was sent and ends each request as the next entry of
/// its script says. A request that finds the script empty is under way until it is stopped.
class FakeHttpTransport final : public HttpTransport {
public:
    QCoro::Task<HttpResponse> send(HttpRequest request, std::stop_token stop) override;

    /// The next request is answered with this status and body.
    void answer(int status, QByteArray body = {});

    /// The next request ends with this answer.
    void answer(HttpResponse response);

    /// The next request fails with `error`, which may be of any type.
    template <typename Error>
    void fail(Error error) {
        hold().failWith(std::move(error));
    }

    /// The next request is under way until the test settles what it gets here.
    Completion<HttpResponse> hold();

    /// Everything that was sent, in order. What was stopped beforehand was not sent.
    const std::vector<HttpRequest>& requests() const { return m_requests; }

    /// How many requests have not ended yet.
    int underWay() const { return m_underWay; }

private:
    std::deque<Completion<HttpResponse>> m_script;
    std::vector<HttpRequest> m_requests;
    int m_underWay = 0;
};

} // namespace lumivane::test
