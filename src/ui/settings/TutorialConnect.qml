import QtQuick
import "qrc:/quillmarsh/kit"

// The second step: who rewrites.
Column {
    id: step

    property var models
    readonly property var tutorial: models.tutorial

    spacing: 12

    AppText {
        width: parent.width
        text: "Choose who rewrites your words. You can change this at any time."
        color: AppDesign.secondary
        bottomPadding: 4
    }
    AppRowButton {
        objectName: "chatGPTCard"
        width: parent.width
        icon: "bubble.left"
        text: "ChatGPT by OpenAI"
        subtitle: "Use your ChatGPT subscription."
        onClicked: {
            if (step.tutorial.isChatGPTConnected)
                step.tutorial.showConnections()
            else if (!step.tutorial.isWaitingForBrowser)
                step.tutorial.connectChatGPT()
        }

        AppStatus {
            visible: step.tutorial.isChatGPTConnected
            positive: true
            text: "Connected"
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    AppRowButton {
        objectName: "claudeCard"
        width: parent.width
        icon: "key"
        text: "Claude"
        subtitle: "by Anthropic · Connect an API key"
        onClicked: step.tutorial.connectClaude()

        AppIcon {
            name: "chevron.right"
            size: 14
            color: AppDesign.secondary
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    AppRowButton {
        objectName: "otherCard"
        width: parent.width
        icon: "circle.hexagongrid"
        text: "Other connections"
        subtitle: step.tutorial.waitingText || "Quillmarsh Cloud or an OpenAI API key"
        onClicked: step.tutorial.showConnections()

        AppSpinner {
            visible: running
            running: step.tutorial.isWaitingForBrowser
            anchors.verticalCenter: parent.verticalCenter
        }
        AppButton {
            objectName: "tutorialCancelSignIn"
            visible: step.tutorial.isWaitingForBrowser
            kind: "quiet"
            text: "Cancel"
            anchors.verticalCenter: parent.verticalCenter
            onClicked: step.tutorial.cancelSignIn()
        }
        AppIcon {
            visible: !step.tutorial.isWaitingForBrowser
            name: "chevron.right"
            size: 14
            color: AppDesign.secondary
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    Note {
        width: parent.width
        visible: text !== ""
        symbol: "exclamationmark.circle"
        tone: AppDesign.ink
        text: step.tutorial.error
        Accessible.role: Accessible.AlertMessage
    }
}
