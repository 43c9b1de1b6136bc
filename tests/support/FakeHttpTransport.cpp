#include "support/FakeHttpTransport.h"

#include <QScopeGuard>

#include <utility>

namespace lumivane::test {

QCoro::Task<HttpResponse> FakeHttpTransport::send(HttpRequest request, std::stop_token stop) {
    throwIfStopped(stop);
    m_requests.push_back(std::move(request));
    Completion<HttpResponse> answer;
    if (!m_script.empty()) {
        answer = std::move(m_script.front());
        m_script.pop_front();
    }
    ++m_underWay;
    const auto ended = qScopeGuard([this] { --m_underWay; });
    co_return co_await answer.wait(stop);
}

void FakeHttpTransport::answer(int status, QByteArray body) {
    HttpResponse response;
    response.status = status;
    response.body = std::move(body);
    answer(std::move(response));
}

void FakeHttpTransport::answer(HttpResponse response) { hold().resolve(std::move(response)); }

Completion<HttpResponse> FakeHttpTransport::hold() {
    m_script.emplace_back();
    return m_script.back();
}

} // namespace lumivane::test
