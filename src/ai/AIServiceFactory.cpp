#include "ai/AIServiceFactory.h"

#include "ai/AnthropicService.h"
#include "ai/OpenAIService.h"
#include "base/Deployment.h"
#include "base/Http.h"
#include "chatgpt/CodexResponsesService.h"

namespace quillmarsh {

namespace {

std::unique_ptr<AIServiceProtocol> openAIService(OpenAIAuthMode mode)
{
    if (mode == OpenAIAuthMode::chatgpt)
        return std::make_unique<CodexResponsesService>();
    const QString apiUrl = Deployment::current().openAIApiBase + QStringLiteral("/chat/completions");
    return std::make_unique<OpenAIService>(
        OpenAIChatService(sharedUrlSession(), apiUrl, QStringLiteral("gpt-4o")));
}

} // namespace

std::unique_ptr<AIServiceProtocol> AIServiceFactory::service(AIProvider provider,
                                                             OpenAIAuthMode openaiAuthMode,
                                                             CloudAIService::TokenSource installationToken)
{
    switch (provider) {
    case AIProvider::cloud:
        return std::make_unique<CloudAIService>(sharedUrlSession(), std::move(installationToken),
                                                CloudUsage::shared());
    case AIProvider::openai:
        return openAIService(openaiAuthMode);
    case AIProvider::claude:
        return std::make_unique<AnthropicService>(sharedUrlSession());
    }
    Q_UNREACHABLE();
}

} // namespace quillmarsh
