#include "server/application/ConfiguredEngine.h"

#include "server/analysis/ChatCompletionsEngine.h"
#include "server/analysis/ChatEndpoint.h"
#include "server/analysis/ExtractiveEngine.h"
#include "server/memory/PracticeEngine.h"

#include <iostream>

namespace lumivane::service {

namespace {

// Without it the service still does everything else.
std::unique_ptr<PracticeMemory> openMemory(const ServiceConfiguration& configuration) {
    try {
        return PracticeMemory::open(configuration.memoryFile);
    } catch (const PracticeMemoryError& error) {
        std::cerr << "lumivane-service: no practice memory at " << configuration.memoryFile.string()
                  << ": " << error.what() << std::endl;
    }
    return nullptr;
}

std::unique_ptr<AnalysisEngine> makeGeneralEngine(const ServiceConfiguration& configuration,
                                                  UpstreamTransport& upstream,
                                                  boost::asio::thread_pool& pool) {
    if (!configuration.chat) {
        return std::make_unique<ExtractiveEngine>(pool);
    }
    const ChatSettings& chat = *configuration.chat;
    try {
        ChatModel model;
        model.url = parseChatEndpoint(chat.baseUrl);
        model.name = chat.model;
        model.apiKey = chat.apiKey;
        return std::make_unique<ChatCompletionsEngine>(
            upstream, pool, std::move(model), PromptLibrary::load(configuration.promptsFolder));
    } catch (const UpstreamUrlError& error) {
        throw ConfigurationError(std::string("\"chat_base_url\" ") + error.what());
    } catch (const PromptError& error) {
        throw ConfigurationError(std::string("\"prompts_folder\": ") + error.what());
    }
}

} // namespace

std::unique_ptr<AnalysisEngine> makeConfiguredEngine(const ServiceConfiguration& configuration,
                                                     UpstreamTransport& upstream,
                                                     boost::asio::thread_pool& pool) {
    return std::make_unique<PracticeEngine>(openMemory(configuration),
                                            makeGeneralEngine(configuration, upstream, pool), pool);
}

} // namespace lumivane::service
