#include "ui/settings/ChatGPTPanelModel.h"

#include "base/Deployment.h"
#include "chatgpt/CodexOAuthService.h"
#include "platform/Workspace.h"

#include <QRegularExpression>

#include <algorithm>

namespace quillmarsh {

using namespace Qt::StringLiterals;

QString accountInitials(const QString& name)
{
    static const QRegularExpression separators(u"[\\s._+-]+"_s);
    QString initials;
    for (const QString& word : name.section(u'@', 0, 0).split(separators, Qt::SkipEmptyParts)) {
        if (word.front().isLetterOrNumber() && initials.size() < 2)
            initials += word.front().toUpper();
    }
    return initials.isEmpty() ? u"?"_s : initials;
}

QString accountName(const CodexTokens& profile)
{
    const QString email = profile.email.value_or(QString());
    return email.isEmpty() ? u"ChatGPT account"_s : email;
}

ChatGPTPanelModel::ChatGPTPanelModel(CodexOAuthService& oauth, Workspace& workspace, QObject* parent)
    : QObject(parent), oauth_(oauth), workspace_(workspace)
{
    using Service = CodexOAuthService;
    for (const auto signal : {&Service::isAuthenticatingChanged, &Service::profilesChanged,
                              &Service::activeClientIDChanged, &Service::lastErrorChanged})
        connect(&oauth, signal, this, &ChatGPTPanelModel::changed);
    for (const auto signal :
         {&Service::modelsChanged, &Service::isLoadingModelsChanged, &Service::selectedModelChanged})
        connect(&oauth, signal, this, &ChatGPTPanelModel::modelsChanged);
    // Queued: a reconnection stores the account first and forgets its models then.
    for (const auto signal : {&Service::activeClientIDChanged, &Service::profilesChanged})
        connect(&oauth, signal, this, &ChatGPTPanelModel::loadModelsIfNeeded, Qt::QueuedConnection);
}

ChatGPTPanelModel::State ChatGPTPanelModel::state() const
{
    if (oauth_.selectedProfile())
        return State::connected;
    return oauth_.isAuthenticating() ? State::waitingForBrowser : State::disconnected;
}

QString ChatGPTPanelModel::accountName() const
{
    const auto profile = oauth_.selectedProfile();
    return profile ? quillmarsh::accountName(*profile) : QString();
}

QString ChatGPTPanelModel::initials() const
{
    return accountInitials(accountName());
}

bool ChatGPTPanelModel::needsReconnect() const
{
    const auto profile = oauth_.selectedProfile();
    return profile && !profile->canUsePlan();
}

bool ChatGPTPanelModel::isAuthenticating() const
{
    return oauth_.isAuthenticating();
}

// A registration whose sign-in was never finished is no account yet.
QList<CodexTokens> ChatGPTPanelModel::visibleProfiles() const
{
    QList<CodexTokens> visible;
    for (const CodexTokens& profile : oauth_.profiles()) {
        if (!profile.accessToken.isEmpty() || profile.clientID == oauth_.activeClientID())
            visible.append(profile);
    }
    return visible;
}

QVariantList ChatGPTPanelModel::accounts() const
{
    QVariantList accounts;
    for (const CodexTokens& profile : visibleProfiles())
        accounts.append(
            QVariantMap{{u"title"_s, quillmarsh::accountName(profile)},
                        {u"subtitle"_s, profile.canUsePlan() ? QString() : u"Needs to reconnect"_s}});
    return accounts;
}

int ChatGPTPanelModel::accountIndex() const
{
    const QList<CodexTokens> profiles = visibleProfiles();
    const auto active = std::ranges::find(profiles, oauth_.activeClientID(), &CodexTokens::clientID);
    return active == profiles.end() ? -1 : static_cast<int>(active - profiles.begin());
}

QString ChatGPTPanelModel::error() const
{
    return oauth_.lastError().value_or(QString());
}

QVariantList ChatGPTPanelModel::models() const
{
    QVariantList models;
    for (const ChatGPTModel& model : oauth_.models())
        models.append(QVariantMap{{u"title"_s, model.displayName}});
    return models;
}

int ChatGPTPanelModel::modelIndex() const
{
    const auto& models = oauth_.models();
    const auto selected = std::ranges::find(models, oauth_.selectedModel(), &ChatGPTModel::slug);
    return selected == models.end() ? -1 : static_cast<int>(selected - models.begin());
}

bool ChatGPTPanelModel::isLoadingModels() const
{
    return oauth_.isLoadingModels();
}

void ChatGPTPanelModel::signIn()
{
    detach(oauth_.signIn(false));
}

void ChatGPTPanelModel::addAccount()
{
    detach(oauth_.signIn(true));
}

void ChatGPTPanelModel::cancelSignIn()
{
    oauth_.cancelSignIn();
}

void ChatGPTPanelModel::signOut()
{
    detach(oauth_.signOut());
}

void ChatGPTPanelModel::chooseAccount(int index)
{
    const QList<CodexTokens> profiles = visibleProfiles();
    if (index < 0 || index >= profiles.size() || profiles.at(index).clientID == oauth_.activeClientID())
        return;
    oauth_.selectProfile(profiles.at(index).clientID);
}

void ChatGPTPanelModel::chooseModel(int index)
{
    const auto& models = oauth_.models();
    if (index >= 0 && index < std::ssize(models))
        oauth_.setSelectedModel(models.at(index).slug);
}

void ChatGPTPanelModel::refreshModels()
{
    detach(oauth_.loadModels());
}

void ChatGPTPanelModel::loadModelsIfNeeded()
{
    if (oauth_.tokens() && oauth_.models().isEmpty() && !oauth_.isLoadingModels())
        refreshModels();
}

void ChatGPTPanelModel::openUsagePage()
{
    openDetached(workspace_, QUrl(Deployment::current().chatGPTOrigin + u"/settings/usage"_s));
}

} // namespace quillmarsh
