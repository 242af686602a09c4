# The settings window: its view-models, and its views at qrc:/quillmarsh/settings.
target_sources(quillmarsh_ui PRIVATE
    settings/APIKeyModel.cpp settings/APIKeyModel.h
    settings/ChatGPTPanelModel.cpp settings/ChatGPTPanelModel.h
    settings/ConnectionsModel.cpp settings/ConnectionsModel.h
    settings/DemoModel.cpp settings/DemoModel.h
    settings/KeyCaptureView.cpp settings/KeyCaptureView.h
    settings/OverviewModel.cpp settings/OverviewModel.h
    settings/PermissionsModel.cpp settings/PermissionsModel.h
    settings/SettingsEnvironment.h
    settings/SettingsModel.cpp settings/SettingsModel.h
    settings/SettingsViewModels.cpp settings/SettingsViewModels.h
    settings/SettingsWindow.cpp settings/SettingsWindow.h
    settings/ShortcutEditorModel.cpp settings/ShortcutEditorModel.h
    settings/ShortcutRecorder.cpp settings/ShortcutRecorder.h
    settings/TutorialModel.cpp settings/TutorialModel.h
    settings/WritingActionsModel.cpp settings/WritingActionsModel.h)

qt_add_resources(quillmarsh_ui quillmarsh_settings_views
    PREFIX /quillmarsh/settings
    BASE ${CMAKE_CURRENT_SOURCE_DIR}/settings
    FILES
        settings/APIKeyPanel.qml
        settings/ActionSummary.qml
        settings/ChatGPTAccount.qml
        settings/ChatGPTPanel.qml
        settings/CloudPanel.qml
        settings/ConnectionsView.qml
        settings/MetricCard.qml
        settings/Note.qml
        settings/OverviewView.qml
        settings/PanelHeading.qml
        settings/PermissionsView.qml
        settings/SettingsHeader.qml
        settings/SettingsSidebar.qml
        settings/SettingsView.qml
        settings/ShortcutEditorView.qml
        settings/ShortcutRecorderView.qml
        settings/TutorialConnect.qml
        settings/TutorialCustomize.qml
        settings/TutorialDemo.qml
        settings/TutorialView.qml
        settings/UpdateSettingsRow.qml
        settings/WritingActionRow.qml
        settings/WritingActionsView.qml
        settings/WritingExample.qml)
