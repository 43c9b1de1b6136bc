#include "server/application/ConfiguredEngine.h"

#include "server/analysis/ChatCompletionsEngine.h"
#include "server/analysis/ExtractiveEngine.h"

namespace lumivane::service {

std::unique_ptr<AnalysisEngine> makeConfiguredEngine(const ServiceConfiguration& configuration,
                                                     boost::asio::thread_pool& pool) {
    if (!configuration.chat) {
        return std::make_unique<ExtractiveEngine>(pool);
    }
    const ChatSettings& chat = *configuration.chat;
    try {
        auto transport = makeHttpChatTransport(parseChatEndpoint(chat.baseUrl), chat.apiKey);
        return std::make_unique<ChatCompletionsEngine>(
            std::move(transport), chat.model, PromptLibrary::load(configuration.promptsFolder));
    } catch (const ChatEndpointError& error) {
        throw ConfigurationError(std::string("\"chat_base_url\" ") + error.what());
    } catch (const PromptError& error) {
        throw ConfigurationError(std::string("\"prompts_folder\": ") + error.what());
    }
}

} // namespace lumivane::service
