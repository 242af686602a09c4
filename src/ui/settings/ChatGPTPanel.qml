import QtQuick
import "qrc:/quillmarsh/kit"

// The ChatGPT plan: signing in while no account is connected, the account and its model afterwards.
AppCard {
    id: panel

    property var models
    readonly property var chatGPT: models.connections.chatGPT

    spacing: 14

    Loader {
        width: parent.width
        sourceComponent: panel.chatGPT.isConnected ? account : invitation
    }
    Item {
        width: parent.width
        height: Math.max(spinner.height, cancel.height)
        visible: panel.chatGPT.isAuthenticating

        AppSpinner {
            id: spinner
            running: parent.visible
            anchors.verticalCenter: parent.verticalCenter
        }
        AppText {
            anchors {
                left: spinner.right
                leftMargin: 9
                right: cancel.left
                rightMargin: 9
                verticalCenter: parent.verticalCenter
            }
            text: "Finish connecting in your browser…"
            size: 12
            color: AppDesign.secondary
        }
        AppButton {
            id: cancel
            objectName: "cancelSignIn"
            kind: "quiet"
            text: "Cancel"
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            onClicked: panel.chatGPT.cancelSignIn()
        }
    }
    Note {
        width: parent.width
        visible: text !== ""
        symbol: "exclamationmark.circle"
        tone: AppDesign.ink
        text: panel.chatGPT.error
        Accessible.role: Accessible.AlertMessage
    }

    Component {
        id: invitation

        Column {
            spacing: 14

            PanelHeading {
                symbol: "bubble.left"
                title: "Connect your ChatGPT"
                subtitle: "Use your eligible ChatGPT plan."
            }
            AppTextParagraph {
                width: parent.width
                text: "You approve access in your browser. Rewrites count toward your ChatGPT allowance; availability depends on your plan."
                size: 12
            }
            AppButton {
                objectName: "continueWithChatGPT"
                visible: !panel.chatGPT.isAuthenticating
                kind: "primary"
                text: "Continue with ChatGPT"
                onClicked: panel.chatGPT.signIn()
            }
        }
    }
    Component {
        id: account

        ChatGPTAccount { chatGPT: panel.chatGPT }
    }
}
