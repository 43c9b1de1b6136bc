#pragma once

#include "platform/HttpTransport.h"

#include <QByteArray>

#include <algorithm>
#include <utility>

namespace lumivane::test {

/// A transport that answers each request at once and lets go of all that was sent.
class ForgetfulHttpTransport final : public HttpTransport {
public:
    QCoro::Task<HttpResponse> send(HttpRequest request, std::stop_token /*stop*/) override {
        ++count;
        longestHeader = 0;
        for (const auto& [name, value] : request.headers) {
            longestHeader = std::max(longestHeader, value.size());
        }
        request = HttpRequest();
        HttpResponse response;
        response.status = 200;
        response.body = std::exchange(answer, QByteArray());
        co_return response;
    }

    QByteArray answer; ///< of the next request
    int count = 0;
    qsizetype longestHeader = 0; ///< of the last one
};

} // namespace lumivane::test
