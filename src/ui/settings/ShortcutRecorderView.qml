import QtQuick
import Quillmarsh.Kit 1.0
import Quillmarsh.Settings 1.0
import "qrc:/quillmarsh/kit"

// The shortcut of a writing action: what it is, and how another one is recorded.
Column {
    id: view

    required property var editor
    readonly property bool isRecording: editor.recorder.isRecording
    readonly property bool hasShortcut: editor.shortcutText !== ""

    spacing: 6

    // The button that had the focus is gone while recording; another takes its place.
    onIsRecordingChanged: {
        if (!isRecording)
            Qt.callLater(() => (record.visible ? record : change).forceActiveFocus())
    }

    AppText {
        text: "Keyboard Shortcut"
        size: 12
        weight: Font.Medium
    }
    RoundedBox {
        width: parent.width
        height: 52
        radius: 10
        color: view.isRecording ? AppDesign.accentSoft : AppDesign.surface
        lineWidth: view.isRecording ? 1.5 : 1
        lineColor: view.isRecording ? AppDesign.accent : AppDesign.outline

        // As large as the frame: assistive technology takes what has no size for hidden.
        Loader {
            anchors.fill: parent
            active: view.isRecording
            sourceComponent: KeyCaptureView {
                recorder: view.editor.recorder
                Accessible.role: Accessible.EditableText
                Accessible.name: "Press your shortcut..."
                Accessible.focusable: true
            }
        }
        AppButton {
            id: record
            objectName: "addShortcut"
            visible: !view.isRecording && !view.hasShortcut
            kind: "quiet"
            icon: "keyboard"
            text: "Add Keyboard Shortcut"
            anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
            onClicked: view.editor.startRecording()
        }
        KeycapRow {
            visible: !view.isRecording && view.hasShortcut
            text: view.editor.shortcutText
            anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
        }
        AppText {
            visible: view.isRecording
            text: "Press your shortcut..."
            color: AppDesign.accent
            weight: Font.Medium
            anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }
            Accessible.ignored: true
        }
        Row {
            spacing: 20
            anchors { right: parent.right; rightMargin: 16; verticalCenter: parent.verticalCenter }

            AppButton {
                id: change
                objectName: "changeShortcut"
                visible: !view.isRecording && view.hasShortcut
                kind: "quiet"
                text: "Change"
                onClicked: view.editor.startRecording()
            }
            AppButton {
                objectName: "removeShortcut"
                visible: !view.isRecording && view.hasShortcut
                kind: "quiet"
                text: "Remove"
                onClicked: view.editor.clearShortcut()
            }
            AppButton {
                objectName: "stopRecording"
                visible: view.isRecording
                tabStop: false
                kind: "quiet"
                text: "Cancel"
                onClicked: view.editor.recorder.cancel()
            }
        }
    }
    Item {
        width: parent.width
        height: owner.implicitHeight
        visible: view.editor.ownerNote !== ""

        AppIcon {
            name: "exclamationmark.triangle"
            size: 14
            color: AppDesign.ink
            y: AppDesign.besideLine(owner.size, size)
        }
        ShortcutSentence {
            id: owner
            x: 23
            width: parent.width - x
            text: view.editor.ownerNote
            shortcut: view.editor.shortcutText
            Accessible.role: Accessible.AlertMessage
        }
    }
    AppText {
        width: parent.width
        text: "Optional. Press a key combo to trigger this instruction globally."
        size: 11
        color: AppDesign.secondary
    }
}
