#include "ui/settings/ConnectionsModel.h"

#include "ai/CloudUsage.h"
#include "rewrite/AppSettings.h"

#include <QLocale>

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

ConnectionsModel::ConnectionsModel(AppSettings& settings, CodexOAuthService& oauth, CloudUsage& usage,
                                   Workspace& workspace, const KeychainService& keychain, QObject* parent)
    : QObject(parent), settings_(settings), usage_(usage), apiKey_(settings, workspace, keychain),
      chatGPT_(oauth, workspace)
{
    connect(&settings, &AppSettings::providerChanged, this, &ConnectionsModel::choiceChanged);
    connect(&settings, &AppSettings::openaiAuthModeChanged, this, &ConnectionsModel::choiceChanged);
    connect(&usage, &CloudUsage::quotaChanged, this, &ConnectionsModel::allowanceChanged);
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

QString ConnectionsModel::allowance() const
{
    const auto& quota = usage_.quota();
    if (!quota || quota->limit <= 0)
        return {};
    const QLocale locale;
    const QString left =
        u"%1 of %2 rewrites left"_s.arg(locale.toString(quota->remaining), locale.toString(quota->limit));
    return quota->resetsAt ? left + u" · renews "_s + *quota->resetsAt : left;
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
