#pragma once

#include "server/http/HttpMessage.h"

#include <boost/asio/awaitable.hpp>
#include <boost/asio/thread_pool.hpp>

#include <functional>
#include <string>

namespace lumivane::service {

/// Runs `work`, which may block on the database, on `pool` and gives its answer. An AccountError
/// becomes the envelope of its refusal, a database that cannot be used 503 "storage_unavailable".
/// Called from the network thread.
boost::asio::awaitable<HttpResponse> answerOnPool(boost::asio::thread_pool& pool,
                                                  std::string requestId,
                                                  std::function<HttpResponse()> work);

/// 200 with a JSON body.
HttpResponse jsonResponse(std::string body);

/// 204.
HttpResponse emptyResponse();

} // namespace lumivane::service
