#include "ui/settings/SettingsViewModels.h"

#include "rewrite/RewriteService.h"

#include <algorithm>

namespace quillmarsh {

namespace {

RecorderEnvironment recorderEnvironment(const SettingsEnvironment& environment)
{
    RewriteService* rewrites = &environment.rewrites;
    return {environment.virtualKey, environment.ownedByAnotherProgram, environment.beep,
            [rewrites] { rewrites->hotkeyService().stop(); }, [rewrites] { rewrites->restartHotkeys(); }};
}

} // namespace

bool ownedByAnotherProgram(EventTapSource& taps, const KeyCombination& combination)
{
    const std::unique_ptr<EventTap> probe = taps.create([](const KeyEvent&) { return TapVerdict::Pass; });
    if (!probe)
        return false;
    probe->setInterest({combination});
    probe->setEnabled(true);
    const std::vector<KeyCombination> refused = probe->refused();
    probe->invalidate();
    return std::ranges::find(refused, combination) != refused.end();
}

SettingsViewModels::SettingsViewModels(const SettingsEnvironment& environment, QObject* parent)
    : QObject(parent), sections_(environment.defaults, environment.notifications),
      overview_(environment.settings, environment.updates),
      actions_(environment.settings, environment.rewrites, environment.layout),
      connections_(environment.settings, environment.oauth, environment.cloudUsage, environment.workspace,
                   environment.keychain),
      editor_(environment.settings, environment.layout, recorderEnvironment(environment)),
      tutorial_(environment.defaults, environment.settings, environment.oauth, environment.notifications),
      permissions_(environment.rewrites, environment.defaults),
      demo_(environment.virtualKey, environment.setDemoFocused)
{
    connect(&sections_, &SettingsModel::sectionChanged, &tutorial_, [this] {
        if (sections_.section() != SettingsSection::guide)
            tutorial_.endDemo();
        if (sections_.section() != SettingsSection::general)
            tutorial_.endWelcome();
    });
    if (environment.loadsSavedKey)
        connections_.apiKey()->loadKey();
    if (connections_.panel() == ConnectionsModel::Panel::chatGPT)
        connections_.chatGPT()->loadModelsIfNeeded();
}

} // namespace quillmarsh
