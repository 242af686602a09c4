import QtQuick
import "qrc:/quillmarsh/kit"

// The permissions guide: what is asked for, why, whether it is there, and how to give it.
AppScrollView {
    id: view

    required property var models
    readonly property var permissions: models.permissions
    readonly property bool isMissing: permissions.waitingText !== ""

    padding: 32
    topPadding: 24
    spacing: 16
    Component.onCompleted: permissions.markSeen()

    AppCard {
        width: parent.width
        padding: 22
        spacing: 18

        Item {
            width: parent.width
            height: Math.max(heading.height, badge.implicitHeight)

            PanelHeading {
                id: heading
                width: parent.width - badge.width - 12
                symbol: "hand.raised"
                title: "Accessibility"
            }
            AppStatus {
                id: badge
                objectName: "permissionBadge"
                text: view.permissions.badge
                positive: view.permissions.isEnabled
                anchors { right: parent.right; verticalCenter: heading.verticalCenter }
            }
        }
        AppTextParagraph {
            width: parent.width
            text: "Quillmarsh needs this access to read your selected text using Copy, replace it using Paste, and respond to your shortcut in other apps."
        }
        Column {
            width: parent.width
            spacing: 12

            Repeater {
                model: [
                    "Open System Settings → Privacy & Security → Accessibility.",
                    "Turn on Quillmarsh. Use Touch ID or your Mac password if macOS asks.",
                    "Return here. Your shortcuts activate when access is detected."
                ]

                AppStep {
                    required property string modelData
                    required property int index

                    width: parent.width
                    number: index + 1
                    text: modelData
                }
            }
        }
        Flow {
            width: parent.width
            spacing: 10

            AppButton {
                objectName: "openSystemSettings"
                kind: view.isMissing ? "primary" : "secondary"
                text: "Open System Settings"
                onClicked: view.permissions.openSystemSettings()
            }
            AppButton {
                objectName: "checkAgain"
                text: "Check again"
                onClicked: view.permissions.checkAgain()
            }
        }
        Rectangle {
            width: parent.width
            height: 1
            color: AppDesign.border
            visible: view.isMissing || view.permissions.enabledText !== "" || view.permissions.problem !== ""
        }
        Column {
            width: parent.width
            spacing: 8

            Item {
                width: parent.width
                height: waiting.implicitHeight
                visible: view.isMissing

                AppSpinner {
                    running: view.isMissing
                    size: 14
                    y: AppDesign.besideLine(waiting.size, size)
                }
                AppText {
                    id: waiting
                    x: 23
                    width: parent.width - 23
                    text: view.permissions.waitingText
                    weight: Font.Medium
                }
            }
            AppTextParagraph {
                x: 23
                width: parent.width - 23
                visible: text !== ""
                text: view.permissions.helpText
                size: 12
            }
            Note {
                width: parent.width
                visible: text !== ""
                size: 13
                symbol: "checkmark.circle"
                tone: AppDesign.success
                text: view.permissions.enabledText
            }
            Note {
                width: parent.width
                visible: text !== ""
                size: 13
                symbol: "exclamationmark.circle"
                tone: AppDesign.ink
                text: view.permissions.problem
            }
        }
    }
    Item {
        width: parent.width
        height: Math.max(reassurance.implicitHeight, buttons.height)

        Note {
            id: reassurance
            anchors {
                left: parent.left
                leftMargin: 2
                right: buttons.left
                rightMargin: 16
                verticalCenter: parent.verticalCenter
            }
            symbol: "lock"
            text: "No Screen Recording or Full Disk Access is requested."
        }
        Row {
            id: buttons
            anchors.right: parent.right
            spacing: 10

            AppButton {
                objectName: "tryDemo"
                text: "Try the demo first"
                onClicked: view.models.tutorial.tryDemo()
            }
            AppButton {
                objectName: "continueGuide"
                kind: view.isMissing ? "secondary" : "primary"
                text: "Continue"
                onClicked: view.models.tutorial.continueFromPermissions()
            }
        }
    }
}
