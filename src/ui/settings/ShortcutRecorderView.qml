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
    onIsRecordingChanged: if (!isRecording) Qt.callLater(() => record.visible ? record.forceActiveFocus() : change.forceActiveFocus())

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

        AppButton {
            id: record
            objectName: "addShortcut"
            visible: !view.isRecording && !view.hasShortcut
            kind: "quiet"
            icon: "keyboard"
            text: "Add Keyboard Shortcut"
            anchors { left: parent.left; leftMargin: 20; verticalCenter: parent.verticalCenter }
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
            anchors { left: parent.left; leftMargin: 14; verticalCenter: parent.verticalCenter }
            Accessible.role: Accessible.AlertMessage
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
        Loader {
            active: view.isRecording
            sourceComponent: KeyCaptureView {
                recorder: view.editor.recorder
                Accessible.role: Accessible.EditableText
                Accessible.name: "Press your shortcut..."
                Accessible.focusable: true
            }
        }
    }
    // The combination is drawn, as few fonts have its signs.
    Item {
        id: owner
        readonly property var pieces: view.editor.ownerNote !== "" ? view.editor.ownerNote.split(view.editor.shortcutText) : []

        width: parent.width
        height: sentence.implicitHeight
        visible: view.editor.ownerNote !== ""
        Accessible.role: Accessible.AlertMessage
        Accessible.name: view.editor.ownerNote

        AppIcon {
            name: "exclamationmark.triangle"
            size: 14
            color: AppDesign.ink
            y: 1
        }
        Flow {
            id: sentence
            x: 23
            width: parent.width - x
            spacing: 4

            AppText {
                text: owner.pieces.length > 0 ? owner.pieces[0].trim() : ""
                size: 12
                Accessible.ignored: true
            }
            Row {
                KeycapRow {
                    text: view.editor.shortcutText
                    framed: false
                    tone: AppDesign.ink
                    Accessible.ignored: true
                }
                AppText {
                    text: owner.pieces.length > 1 ? owner.pieces[1].charAt(0) : ""
                    size: 12
                    Accessible.ignored: true
                }
            }
            AppText {
                text: owner.pieces.length > 1 ? owner.pieces[1].substring(1).trim() : ""
                size: 12
                Accessible.ignored: true
            }
        }
    }
    AppText {
        width: parent.width
        text: "Optional. Press a key combo to trigger this instruction globally."
        size: 11
        color: AppDesign.secondary
    }
}
