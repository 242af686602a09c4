import QtQuick

// A short message that wants an answer. `buttons` holds texts or objects {text, kind}, the last one the primary
// unless it says otherwise. Escape answers with the first.
AppSheet {
    id: alert

    property string message
    property var buttons: ["OK"]

    signal answered(int index)

    role: Accessible.AlertMessage
    sheetWidth: 360
    spacing: 12
    onDismissed: answered(0)
    onOpened: answers.itemAt(answers.count - 1).forceActiveFocus(Qt.TabFocusReason)

    AppTextParagraph {
        width: parent.width
        text: alert.message
    }
    Row {
        anchors.right: parent.right
        topPadding: 6
        spacing: 10

        Repeater {
            id: answers
            model: alert.buttons

            AppButton {
                required property var modelData
                required property int index

                text: typeof modelData === "string" ? modelData : modelData.text
                kind: modelData.kind || (index === answers.count - 1 ? "primary" : "secondary")
                onClicked: alert.answered(index)
            }
        }
    }
}
