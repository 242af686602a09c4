# The settings window: its view-models, and its views at qrc:/quillmarsh/settings.
target_sources(quillmarsh_ui PRIVATE
    settings/APIKeyModel.cpp settings/APIKeyModel.h
    settings/DemoModel.cpp settings/DemoModel.h
    settings/KeyCaptureView.cpp settings/KeyCaptureView.h
    settings/OverviewModel.cpp settings/OverviewModel.h
    settings/PermissionsModel.cpp settings/PermissionsModel.h
    settings/SettingsModel.cpp settings/SettingsModel.h
    settings/ShortcutEditorModel.cpp settings/ShortcutEditorModel.h
    settings/ShortcutRecorder.cpp settings/ShortcutRecorder.h
    settings/WritingActionsModel.cpp settings/WritingActionsModel.h)
