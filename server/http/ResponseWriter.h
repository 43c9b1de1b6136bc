#pragma once

#include "server/http/ConnectionStream.h"
#include "server/http/HttpMessage.h"

#include <boost/asio/awaitable.hpp>

#include <chrono>

namespace lumivane::service {

/// Whether the connection stays open after an answer.
enum class AfterAnswer { keepOpen, close };

/// Whether the answer's body is sent: to HEAD it is not, while its length is.
enum class AnswerBody { sent, leftOut };

/// Writes one answer within `limit`. False when the client did not take it.
boost::asio::awaitable<bool> writeResponse(ConnectionStream& stream, HttpResponse response,
                                           AnswerBody body, AfterAnswer after,
                                           std::chrono::milliseconds limit);

/// Tells a client that waits for it to send its body.
boost::asio::awaitable<bool> writeContinue(ConnectionStream& stream,
                                           std::chrono::milliseconds limit);

} // namespace lumivane::service
