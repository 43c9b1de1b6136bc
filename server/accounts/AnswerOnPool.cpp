#include "server/accounts/AnswerOnPool.h"

#include "server/accounts/AccountError.h"
#include "server/http/ErrorEnvelope.h"
#include "server/store/StoreError.h"
#include "server/work/WorkPool.h"

namespace lumivane::service {

namespace {

HttpResponse answer(const std::function<HttpResponse()>& work, const std::string& requestId) {
    try {
        return work();
    } catch (const AccountError& error) {
        return refusalResponse(error.refusal(), requestId);
    } catch (const StoreError&) {
        return refusalResponse(storageUnavailable(), requestId);
    }
}

} // namespace

boost::asio::awaitable<HttpResponse> answerOnPool(boost::asio::thread_pool& pool,
                                                  std::string requestId,
                                                  std::function<HttpResponse()> work) {
    auto call = [requestId = std::move(requestId), work = std::move(work)] {
        return answer(work, requestId);
    };
    auto answering = runOnWorkPool(pool, std::move(call));
    HttpResponse response = co_await std::move(answering);
    co_return response;
}

HttpResponse jsonResponse(std::string body) {
    HttpResponse response;
    response.body = std::move(body);
    return response;
}

HttpResponse emptyResponse() {
    HttpResponse response;
    response.status = 204;
    return response;
}

} // namespace lumivane::service
