#include "chatgpt/CodexOAuthService.h"

#include "chatgpt/CodexOAuthError.h"

#include <algorithm>

namespace quillmarsh {

namespace {

Task<HttpResponse> requestModels(CodexEnvironment environment, QString accessToken, std::stop_token stop)
{
    QNetworkRequest request = makeRequest(
        QUrl(environment.endpoints.openAIApiBase + QStringLiteral("/models")), std::chrono::seconds(30));
    request.setRawHeader("Authorization", "Bearer " + accessToken.toUtf8());
    co_return co_await send(environment.session, "GET", request, {}, stop);
}

} // namespace

Task<> CodexOAuthService::loadModels(std::stop_token stop)
{
    co_await modelsLoaded(stop);
}

Task<CodexOAuthService::NetworkFailure> CodexOAuthService::modelsLoaded(std::stop_token stop)
{
    const QPointer<CodexOAuthService> self(this);
    co_await loaded();
    if (!self)
        co_return std::nullopt;
    const auto active = tokens();
    if (!active || !active->canUsePlan())
        co_return std::nullopt;
    if (!modelsLoad_) {
        modelsLoad_ = std::make_shared<SharedModels>();
        detach(runModels(modelsLoad_, modelsGeneration_));
    }
    const auto load = modelsLoad_;
    if (!load)
        co_return std::nullopt;
    const QFuture<NetworkFailure> ended = load->promise.future();
    co_return co_await resultOf(ended, stop);
}

Task<> CodexOAuthService::runModels(std::shared_ptr<SharedModels> load, QUuid generation)
{
    const QPointer<CodexOAuthService> self(this);
    setLoadingModels(true);
    if (modelsMessage_ && lastError_ == modelsMessage_)
        setLastError(std::nullopt);
    modelsMessage_.reset();
    NetworkFailure failure;
    std::optional<QString> message;
    std::optional<QList<ChatGPTModel>> models;
    try {
        models = co_await fetchModels(load->stop.get_token());
    } catch (const Cancelled&) {
    } catch (const std::exception& error) {
        if (const auto* const network = dynamic_cast<const TransportError*>(&error))
            failure = *network;
        message = errorDescription(error);
    }
    if (self && modelsGeneration_ == generation) {
        modelsLoad_.reset();
        if (models)
            publishModels(*models);
        if (models && models->isEmpty())
            message = QStringLiteral("No models are available for this ChatGPT account.");
        modelsMessage_ = message;
        if (message)
            setLastError(message);
        setLoadingModels(false);
    }
    load->succeed(failure);
}

Task<QList<ChatGPTModel>> CodexOAuthService::fetchModels(std::stop_token stop)
{
    const QPointer<CodexOAuthService> self(this);
    const CodexEnvironment environment = environment_;
    CodexTokens tokens = co_await refreshIfNeeded(Refresh::ifNeeded, stop);
    HttpResponse response = co_await requestModels(environment, tokens.accessToken, stop);
    if (response.statusCode == 401 && self) {
        tokens = co_await refreshIfNeeded(Refresh::forced, stop);
        response = co_await requestModels(environment, tokens.accessToken, stop);
    }
    if (response.statusCode < 200 || response.statusCode > 299)
        throw CodexOAuthError(QStringLiteral("Couldn’t load ChatGPT models (HTTP %1). Try reconnecting.")
                                  .arg(response.statusCode));
    co_return ChatGPTModel::listed(response.body);
}

void CodexOAuthService::publishModels(const QList<ChatGPTModel>& models)
{
    if (models_ != models) {
        models_ = models;
        emit modelsChanged();
    }
    if (!offersSelectedModel())
        setSelectedModel(models_.isEmpty() ? QString() : models_.first().slug);
}

bool CodexOAuthService::offersSelectedModel() const
{
    return std::ranges::find(models_, selectedModel_, &ChatGPTModel::slug) != models_.end();
}

void CodexOAuthService::resetModels()
{
    modelsGeneration_ = QUuid::createUuid();
    if (modelsLoad_)
        modelsLoad_->stop.request_stop();
    modelsLoad_.reset();
    setLoadingModels(false);
    if (models_.isEmpty())
        return;
    models_.clear();
    emit modelsChanged();
}

void CodexOAuthService::setLoadingModels(bool on)
{
    if (std::exchange(isLoadingModels_, on) != on)
        emit isLoadingModelsChanged();
}

} // namespace quillmarsh
