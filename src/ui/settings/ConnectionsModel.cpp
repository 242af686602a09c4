#include "ui/settings/ConnectionsModel.h"

#include "rewrite/AppSettings.h"

namespace quillmarsh {

using namespace Qt::StringLiterals;

namespace {

QVariantMap option(const QString& title, const QString& subtitle, const QString& symbol)
{
    return {{u"title"_s, title}, {u"subtitle"_s, subtitle}, {u"symbol"_s, symbol}};
}

QVariantMap describe(AIConnectionChoice choice)
{
    switch (choice) {
    case AIConnectionChoice::chatgpt:
        return option(u"ChatGPT"_s, u"Your own plan"_s, u"bubble.left"_s);
    case AIConnectionChoice::cloud:
        return option(displayName(AIProvider::cloud), u"Ready to use"_s, u"cloud"_s);
    case AIConnectionChoice::openaiKey:
        return option(displayName(AIProvider::openai), u"Your own API key"_s, u"key"_s);
    case AIConnectionChoice::claude:
        return option(displayName(AIProvider::claude), u"Your own API key"_s, u"key"_s);
    }
    Q_UNREACHABLE();
}

} // namespace

ConnectionsModel::ConnectionsModel(AppSettings& settings, CodexOAuthService& oauth, Workspace& workspace,
                                   const KeychainService& keychain, QObject* parent)
    : QObject(parent), settings_(settings), apiKey_(settings, workspace, keychain), chatGPT_(oauth, workspace)
{
    connect(&settings, &AppSettings::providerChanged, this, &ConnectionsModel::choiceChanged);
    connect(&settings, &AppSettings::openaiAuthModeChanged, this, &ConnectionsModel::choiceChanged);
}

QVariantList ConnectionsModel::choices() const
{
    QVariantList choices;
    for (const AIConnectionChoice choice : allAIConnectionChoices)
        choices.append(describe(choice));
    return choices;
}

int ConnectionsModel::index() const
{
    return static_cast<int>(settings_.connectionChoice());
}

ConnectionsModel::Panel ConnectionsModel::panel() const
{
    switch (settings_.connectionChoice()) {
    case AIConnectionChoice::chatgpt:
        return Panel::chatGPT;
    case AIConnectionChoice::cloud:
        return Panel::cloud;
    case AIConnectionChoice::openaiKey:
    case AIConnectionChoice::claude:
        return Panel::apiKey;
    }
    Q_UNREACHABLE();
}

QStringList ConnectionsModel::notes() const
{
    return {u"Your credentials stay securely on this Mac."_s,
            u"Only the assistant you choose is used. No automatic switching."_s,
            u"Cloud routes your text through our server to the configured AI provider or its backup."_s};
}

void ConnectionsModel::choose(int index)
{
    if (index < 0 || index >= static_cast<int>(allAIConnectionChoices.size()))
        return;
    settings_.select(allAIConnectionChoices[static_cast<size_t>(index)]);
    if (panel() == Panel::chatGPT)
        chatGPT_.loadModelsIfNeeded();
}

} // namespace quillmarsh
