#pragma once

#include "rewrite/SettingsSection.h"

#include <QObject>

namespace quillmarsh {

class AppSettings;
class CodexOAuthService;
class NotificationCenter;
class UserDefaults;

/// The getting-started guide: three steps whose position is kept under "quickOnboardingStep". It asks for a
/// section of the settings window with the notice "openSettingsFromTutorial".
class TutorialModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int step READ step NOTIFY changed)
    Q_PROPERTY(QString progressText READ progressText NOTIFY changed)
    Q_PROPERTY(QString nextTitle READ nextTitle NOTIFY changed)
    Q_PROPERTY(bool canAdvance READ canAdvance NOTIFY changed)
    Q_PROPERTY(bool canSkip READ canSkip NOTIFY changed)
    Q_PROPERTY(bool isChatGPTConnected READ isChatGPTConnected NOTIFY changed)
    Q_PROPERTY(bool isWaitingForBrowser READ isWaitingForBrowser NOTIFY changed)
    Q_PROPERTY(QString waitingText READ waitingText NOTIFY changed)
    Q_PROPERTY(bool hasJustFinished READ hasJustFinished NOTIFY changed)
    Q_PROPERTY(QString error READ error NOTIFY changed)

public:
    static constexpr int stepCount = 3;

    /// All outlive the model.
    TutorialModel(UserDefaults& defaults, AppSettings& settings, CodexOAuthService& oauth,
                  NotificationCenter& notifications, QObject* parent = nullptr);

    /// 0 to 2; a stored value outside counts as the nearest. 0 during the demo, whatever is stored.
    [[nodiscard]] int step() const;
    [[nodiscard]] QString progressText() const;
    [[nodiscard]] QString nextTitle() const;
    /// False while a sign-in waits for the browser.
    [[nodiscard]] bool canAdvance() const;
    /// Step 1 can be passed without a ChatGPT account.
    [[nodiscard]] bool canSkip() const;
    [[nodiscard]] bool isChatGPTConnected() const;
    [[nodiscard]] bool isWaitingForBrowser() const;
    /// Empty unless a sign-in waits for the browser.
    [[nodiscard]] QString waitingText() const;
    /// From "Done" until another section than the overview is chosen.
    [[nodiscard]] bool hasJustFinished() const { return hasJustFinished_; }
    [[nodiscard]] QString error() const;

    /// What the primary button does in this step.
    Q_INVOKABLE void advance();
    Q_INVOKABLE void back();
    Q_INVOKABLE void skip();
    Q_INVOKABLE void connectChatGPT();
    Q_INVOKABLE void cancelSignIn();
    Q_INVOKABLE void connectClaude();
    Q_INVOKABLE void showConnections() { show(SettingsSection::connections); }
    Q_INVOKABLE void showWritingActions() { show(SettingsSection::shortcuts); }
    Q_INVOKABLE void setUpPermissions() { show(SettingsSection::permissions); }
    /// From the permissions guide on to the next step, or to the writing actions when the guide was finished.
    Q_INVOKABLE void continueFromPermissions();
    /// From the permissions guide to the demo of the first step; the stored step stays.
    Q_INVOKABLE void tryDemo();
    /// The guide is left: it opens at the stored step the next time.
    void endDemo() { showDemo(false); }
    /// The overview is left: the next time it shows no more than usual.
    void endWelcome() { setJustFinished(false); }

signals:
    void changed();

private:
    void setStep(int step);
    void showDemo(bool shown);
    void finish();
    void setJustFinished(bool finished);
    void show(SettingsSection section);
    [[nodiscard]] bool isFinished() const;

    UserDefaults& defaults_;
    AppSettings& settings_;
    CodexOAuthService& oauth_;
    NotificationCenter& notifications_;
    bool isShowingDemo_ = false;
    bool hasJustFinished_ = false;
};

} // namespace quillmarsh
