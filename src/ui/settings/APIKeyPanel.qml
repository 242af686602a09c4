import QtQuick
import "qrc:/quillmarsh/kit"

// The key of the chosen provider. The field's text goes to the model and back without passing through any binding.
AppCard {
    id: panel

    property var models
    readonly property var key: models.connections.apiKey

    spacing: 14

    PanelHeading {
        symbol: "key"
        title: "Connect with an API key"
        subtitle: panel.key.providerName
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
        // A hidden text has no name of its own for a screen reader; the field around it has.
        Accessible.role: Accessible.Grouping
        Accessible.name: title
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
    Row {
        spacing: 10

        AppButton {
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
    }
    Rectangle {
        width: parent.width
        height: 1
        color: AppDesign.border
    }
    AppLink {
        text: "Get an API key ↗"
        onClicked: panel.key.openKeyPage()
    }
    AppText {
        width: parent.width
        text: "API usage is billed separately by your provider."
        size: 12
        color: AppDesign.secondary
    }
}
