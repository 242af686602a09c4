import QtQuick
import "qrc:/quillmarsh/kit"

// The key of the chosen provider. The field's text goes to the model and back without passing through any binding.
AppCard {
    id: panel

    property var models
    readonly property var key: models.connections.apiKey

    spacing: 14

    Item {
        width: parent.width
        height: Math.max(heading.height, page.height)

        PanelHeading {
            id: heading
            width: parent.width - page.width - 16
            symbol: "key"
            title: "Connect with an API key"
            subtitle: panel.key.providerName
        }
        AppLink {
            id: page
            objectName: "keyPage"
            anchors { right: parent.right; verticalCenter: heading.verticalCenter }
            text: "Get an API key ↗"
            onClicked: panel.key.openKeyPage()
        }
    }
    AppTextField {
        id: field
        objectName: "keyField"
        width: parent.width
        title: "API key"
        secret: true
        readOnly: panel.key.isBusy
        revealed: panel.key.isShown
        onRevealedChanged: panel.key.isShown = revealed
        onAccepted: panel.key.save()
        Component.onCompleted: panel.key.adoptField(field)

        Connections {
            target: panel.key
            function onIsShownChanged() { field.revealed = panel.key.isShown }
        }
    }
    Note {
        width: parent.width
        visible: text !== ""
        symbol: panel.key.isStatusPositive ? "checkmark.circle" : "exclamationmark.circle"
        tone: panel.key.isStatusPositive ? AppDesign.success : AppDesign.ink
        text: panel.key.status
        Accessible.role: Accessible.AlertMessage
    }
    Flow {
        width: parent.width
        spacing: 10

        AppButton {
            id: save
            objectName: "saveKey"
            kind: "primary"
            text: "Save key"
            enabled: panel.key.canSave
            onClicked: panel.key.save()
        }
        AppButton {
            objectName: "removeKey"
            text: "Remove key"
            enabled: panel.key.canRemove
            onClicked: panel.key.remove()
        }
        AppText {
            height: save.height
            verticalAlignment: Text.AlignVCenter
            leftPadding: 6
            text: "API usage is billed separately by your provider."
            size: 12
            color: AppDesign.secondary
        }
    }
}
