#include "ui/settings/TutorialModel.h"

#include "base/NotificationCenter.h"
#include "base/Task.h"
#include "base/UserDefaults.h"
#include "chatgpt/CodexOAuthService.h"
#include "rewrite/AppSettings.h"
#include "ui/settings/SettingsModel.h"

#include <algorithm>

namespace quillmarsh {

using namespace Qt::StringLiterals;

TutorialModel::TutorialModel(UserDefaults& defaults, AppSettings& settings, CodexOAuthService& oauth,
                             NotificationCenter& notifications, QObject* parent)
    : QObject(parent), defaults_(defaults), settings_(settings), oauth_(oauth), notifications_(notifications)
{
    connect(&oauth, &CodexOAuthService::isAuthenticatingChanged, this, &TutorialModel::changed);
    connect(&oauth, &CodexOAuthService::profilesChanged, this, &TutorialModel::changed);
    connect(&oauth, &CodexOAuthService::activeClientIDChanged, this, &TutorialModel::changed);
    connect(&oauth, &CodexOAuthService::lastErrorChanged, this, &TutorialModel::changed);
}

int TutorialModel::step() const
{
    if (isShowingDemo_)
        return 0;
    const qint64 stored = defaults_.integer(QLatin1String(quickOnboardingStepKey));
    return static_cast<int>(std::clamp<qint64>(stored, 0, stepCount - 1));
}

QString TutorialModel::progressText() const
{
    return u"Step %1 of %2"_s.arg(step() + 1).arg(stepCount);
}

QString TutorialModel::nextTitle() const
{
    if (step() == 0)
        return u"Connect"_s;
    if (step() == 1)
        return isChatGPTConnected() ? u"Customize"_s : u"Connect ChatGPT"_s;
    return u"Done"_s;
}

bool TutorialModel::canAdvance() const
{
    return step() != 1 || isChatGPTConnected() || !isWaitingForBrowser();
}

bool TutorialModel::canSkip() const
{
    return step() == 1 && !isChatGPTConnected();
}

bool TutorialModel::isChatGPTConnected() const
{
    const auto tokens = oauth_.tokens();
    return tokens && tokens->canUsePlan();
}

bool TutorialModel::isWaitingForBrowser() const
{
    return oauth_.isAuthenticating();
}

QString TutorialModel::waitingText() const
{
    return isWaitingForBrowser() ? u"Continue in your browser…"_s : QString();
}

QString TutorialModel::error() const
{
    return oauth_.lastError().value_or(QString());
}

void TutorialModel::advance()
{
    if (step() == 0)
        setStep(1);
    else if (step() >= 2)
        finish();
    else if (isChatGPTConnected())
        setStep(2);
    else
        connectChatGPT();
}

void TutorialModel::back()
{
    setStep(step() - 1);
}

void TutorialModel::skip()
{
    if (canSkip())
        setStep(2);
}

void TutorialModel::connectChatGPT()
{
    settings_.select(AIConnectionChoice::chatgpt);
    detach(oauth_.signIn(false));
}

void TutorialModel::cancelSignIn()
{
    oauth_.cancelSignIn();
}

void TutorialModel::connectClaude()
{
    settings_.select(AIConnectionChoice::claude);
    show(SettingsSection::connections);
}

void TutorialModel::continueFromPermissions()
{
    showDemo(false);
    if (isFinished())
        return show(SettingsSection::shortcuts);
    setStep(step() + 1);
    show(SettingsSection::guide);
}

// Only shown: the stored step stays where the user had come to.
void TutorialModel::tryDemo()
{
    showDemo(true);
    show(SettingsSection::guide);
}

// A guide that is opened again begins anew.
void TutorialModel::finish()
{
    defaults_.set(QLatin1String(hasSeenModernOnboardingKey), true);
    setStep(0);
    setJustFinished(true);
    show(SettingsSection::general);
}

void TutorialModel::setJustFinished(bool finished)
{
    if (hasJustFinished_ == finished)
        return;
    hasJustFinished_ = finished;
    emit changed();
}

void TutorialModel::show(SettingsSection section)
{
    notifications_.post(QLatin1String(openSettingsFromTutorial), {{u"section"_s, rawValue(section)}});
}

bool TutorialModel::isFinished() const
{
    return defaults_.boolean(QLatin1String(hasSeenModernOnboardingKey));
}

void TutorialModel::setStep(int step)
{
    const int target = std::clamp(step, 0, stepCount - 1);
    if (target == this->step())
        return;
    isShowingDemo_ = false;
    defaults_.set(QLatin1String(quickOnboardingStepKey), target);
    emit changed();
}

void TutorialModel::showDemo(bool shown)
{
    if (isShowingDemo_ == shown)
        return;
    isShowingDemo_ = shown;
    emit changed();
}

} // namespace quillmarsh
