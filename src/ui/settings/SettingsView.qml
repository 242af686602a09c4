import QtQuick
import "qrc:/quillmarsh/kit"

// The one main window: a sidebar of sections, and the chosen one beside it.
Rectangle {
    id: view

    required property var models

    color: AppDesign.page

    SettingsSidebar {
        id: sidebar
        anchors { left: parent.left; top: parent.top; bottom: parent.bottom }
        width: Math.round(216 * (1 + AppDesign.textScale) / 2) // its margins and symbols stay as they are
        sections: view.models.sections
    }
    Rectangle {
        anchors { left: sidebar.right; top: parent.top; bottom: parent.bottom }
        width: 1
        z: 1
        color: AppDesign.border
    }
    SettingsHeader {
        id: header
        anchors {
            left: sidebar.right
            leftMargin: 32
            right: parent.right
            rightMargin: 32
            top: parent.top
            topMargin: 28
        }
        title: view.models.sections.title
        subtitle: view.models.sections.subtitle
    }
    Loader {
        id: section
        objectName: "section"

        readonly property var files: ["OverviewView", "WritingActionsView", "ConnectionsView", "TutorialView",
                                      "PermissionsView"]

        function show() {
            setSource(files[view.models.sections.index] + ".qml", { models: view.models })
        }

        anchors { left: sidebar.right; right: parent.right; top: header.bottom; bottom: parent.bottom }
        // The first one is there with the window; the others are made in slices, so that nothing stutters.
        Component.onCompleted: {
            show()
            asynchronous = true
        }

        Connections {
            target: view.models.sections
            function onSectionChanged() { section.show() }
        }
    }
    AppToast {
        id: toast
        anchors.horizontalCenterOffset: sidebar.width / 2
        actionText: "Undo"
        duration: view.models.actions.undoMilliseconds
        onTriggered: view.models.actions.undo()
        // The toast closes before it tells that it was used.
        onClosed: Qt.callLater(forget)

        function forget() {
            if (!shown)
                view.models.actions.forgetDeleted()
        }

        Connections {
            target: view.models.actions
            function onUndoChanged() {
                if (view.models.actions.undoText === "")
                    return toast.hide()
                toast.text = view.models.actions.undoText
                toast.show()
            }
        }
    }
    ShortcutEditorView {
        editor: view.models.editor
    }
    AppAlert {
        open: view.models.editor.conflictMessage !== ""
        title: "Shortcut Already in Use"
        message: view.models.editor.conflictMessage
        onAnswered: view.models.editor.dismissConflict()
    }
}
