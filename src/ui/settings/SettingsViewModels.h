#pragma once

#include "ui/settings/ConnectionsModel.h"
#include "ui/settings/DemoModel.h"
#include "ui/settings/OverviewModel.h"
#include "ui/settings/PermissionsModel.h"
#include "ui/settings/SettingsEnvironment.h"
#include "ui/settings/SettingsModel.h"
#include "ui/settings/ShortcutEditorModel.h"
#include "ui/settings/TutorialModel.h"
#include "ui/settings/WritingActionsModel.h"

namespace quillmarsh {

/// Everything one settings window shows, from its opening to its closing.
class SettingsViewModels final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quillmarsh::SettingsModel* sections READ sections CONSTANT)
    Q_PROPERTY(quillmarsh::OverviewModel* overview READ overview CONSTANT)
    Q_PROPERTY(quillmarsh::WritingActionsModel* actions READ actions CONSTANT)
    Q_PROPERTY(quillmarsh::ConnectionsModel* connections READ connections CONSTANT)
    Q_PROPERTY(quillmarsh::ShortcutEditorModel* editor READ editor CONSTANT)
    Q_PROPERTY(quillmarsh::TutorialModel* tutorial READ tutorial CONSTANT)
    Q_PROPERTY(quillmarsh::PermissionsModel* permissions READ permissions CONSTANT)
    Q_PROPERTY(quillmarsh::DemoModel* demo READ demo CONSTANT)

public:
    explicit SettingsViewModels(const SettingsEnvironment& environment, QObject* parent = nullptr);

    [[nodiscard]] SettingsModel* sections() { return &sections_; }
    [[nodiscard]] OverviewModel* overview() { return &overview_; }
    [[nodiscard]] WritingActionsModel* actions() { return &actions_; }
    [[nodiscard]] ConnectionsModel* connections() { return &connections_; }
    [[nodiscard]] ShortcutEditorModel* editor() { return &editor_; }
    [[nodiscard]] TutorialModel* tutorial() { return &tutorial_; }
    [[nodiscard]] PermissionsModel* permissions() { return &permissions_; }
    [[nodiscard]] DemoModel* demo() { return &demo_; }

private:
    SettingsModel sections_;
    OverviewModel overview_;
    WritingActionsModel actions_;
    ConnectionsModel connections_;
    ShortcutEditorModel editor_;
    TutorialModel tutorial_;
    PermissionsModel permissions_;
    DemoModel demo_;
};

} // namespace quillmarsh
