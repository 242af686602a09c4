import QtQuick
import "qrc:/quillmarsh/kit"

// The connected account: who it is, which others there are, and the model that rewrites use.
Column {
    id: account

    required property var chatGPT

    spacing: 14

    Item {
        width: parent.width
        height: Math.max(avatar.height, names.implicitHeight)

        Rectangle {
            id: avatar
            width: 36
            height: 36
            radius: 18
            color: AppDesign.accent
            anchors.verticalCenter: parent.verticalCenter

            AppText {
                anchors.centerIn: parent
                text: account.chatGPT.initials
                weight: Font.DemiBold
                color: "white"
                Accessible.ignored: true
            }
        }
        Column {
            id: names
            anchors {
                left: avatar.right
                leftMargin: 12
                right: leave.left
                rightMargin: 12
                verticalCenter: parent.verticalCenter
            }
            spacing: 1

            AppText {
                width: parent.width
                text: account.chatGPT.accountName
                weight: Font.DemiBold
                wrapMode: Text.NoWrap
                elide: Text.ElideMiddle
            }
            AppText {
                width: parent.width
                text: "ChatGPT connected"
                visible: !account.chatGPT.needsReconnect
                size: 12
                color: AppDesign.secondary
            }
        }
        AppButton {
            id: leave
            objectName: "signOut"
            kind: "quiet"
            text: "Sign out"
            anchors { right: parent.right; rightMargin: 2; verticalCenter: parent.verticalCenter }
            onClicked: account.chatGPT.signOut()
        }
    }
    Item {
        width: parent.width
        height: Math.max(hint.implicitHeight, reconnect.implicitHeight)
        visible: account.chatGPT.needsReconnect

        Note {
            id: hint
            anchors { left: parent.left; right: reconnect.left; rightMargin: 16; verticalCenter: parent.verticalCenter }
            symbol: "exclamationmark.circle"
            tone: AppDesign.ink
            text: "Reconnect to allow this app to use your plan."
        }
        AppButton {
            id: reconnect
            objectName: "reconnect"
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            visible: !account.chatGPT.isAuthenticating
            kind: "primary"
            text: "Reconnect"
            onClicked: account.chatGPT.signIn()
        }
    }
    Grid {
        id: choices

        readonly property real cell: columns === 1 ? width : (width - spacing) / 2

        width: parent.width
        columns: width >= 34 * AppDesign.font(13).pixelSize ? 2 : 1
        spacing: 14

        AppFieldMenu {
            objectName: "accountMenu"
            width: choices.cell
            title: "Choose an account"
            options: account.chatGPT.accounts.concat([
                { title: "Add another account", symbol: "plus", enabled: !account.chatGPT.isAuthenticating }
            ])
            currentIndex: account.chatGPT.accountIndex
            onActivated: (index) => {
                if (index < account.chatGPT.accounts.length)
                    account.chatGPT.chooseAccount(index)
                else
                    account.chatGPT.addAccount()
            }
        }
        AppFieldMenu {
            objectName: "modelMenu"
            width: choices.cell
            enabled: !account.chatGPT.needsReconnect && account.chatGPT.models.length > 0
                     && !account.chatGPT.isLoadingModels
            title: "Model"
            placeholder: account.chatGPT.isLoadingModels ? "Loading available models…" : "No model chosen"
            options: account.chatGPT.models
            currentIndex: account.chatGPT.isLoadingModels ? -1 : account.chatGPT.modelIndex
            onActivated: (index) => account.chatGPT.chooseModel(index)
        }
    }
    Flow {
        width: parent.width
        spacing: 16

        AppButton {
            objectName: "refreshModels"
            enabled: !account.chatGPT.needsReconnect && !account.chatGPT.isLoadingModels
            kind: "quiet"
            icon: "arrow.clockwise"
            text: "Refresh available models"
            onClicked: account.chatGPT.refreshModels()
        }
        AppButton {
            objectName: "manageUsage"
            kind: "quiet"
            text: "Manage usage ↗"
            Accessible.role: Accessible.Link
            onClicked: account.chatGPT.openUsagePage()
        }
    }
}
