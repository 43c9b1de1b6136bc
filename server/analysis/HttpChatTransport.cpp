#include "server/analysis/ChatTransport.h"

namespace lumivane::service {

namespace asio = boost::asio;

namespace {

class HttpChatTransport : public ChatTransport {
public:
    HttpChatTransport(ChatEndpoint endpoint, std::optional<std::string> apiKey)
        : m_endpoint(std::move(endpoint))
        , m_apiKey(std::move(apiKey))
        , m_transport(makeHttpUpstreamTransport()) {}

    asio::awaitable<ChatReply> post(std::string body, MonotonicTime deadline) override {
        UpstreamRequest request;
        request.method = UpstreamRequest::Method::post;
        request.url = m_endpoint;
        request.headers.emplace_back("Content-Type", "application/json");
        request.headers.emplace_back("Accept", "application/json");
        if (m_apiKey) {
            request.headers.emplace_back("Authorization", "Bearer " + *m_apiKey);
        }
        request.body = std::move(body);
        return m_transport->send(std::move(request), deadline);
    }

private:
    ChatEndpoint m_endpoint;
    std::optional<std::string> m_apiKey;
    std::unique_ptr<UpstreamTransport> m_transport;
};

} // namespace

std::unique_ptr<ChatTransport> makeHttpChatTransport(ChatEndpoint endpoint,
                                                     std::optional<std::string> apiKey) {
    return std::make_unique<HttpChatTransport>(std::move(endpoint), std::move(apiKey));
}

} // namespace lumivane::service
