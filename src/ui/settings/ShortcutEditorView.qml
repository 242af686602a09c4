import QtQuick
import "qrc:/quillmarsh/kit"

// The sheet in which a writing action is made or changed.
AppSheet {
    id: sheet

    required property var editor

    open: editor.isOpen
    title: editor.title
    sheetWidth: 480
    initialFocus: name
    onDismissed: editor.close()
    onOpened: {
        name.text = editor.name
        instruction.text = editor.instruction
    }

    AppTextField {
        id: name
        objectName: "nameField"
        width: parent.width
        title: "Name"
        placeholder: "e.g. Formal, Casual, Shorter..."
        onTextChanged: sheet.editor.name = text
        onAccepted: sheet.editor.save()
    }
    AppTextArea {
        id: instruction
        objectName: "instructionField"
        width: parent.width
        title: "Instruction"
        hint: "Tell the AI how to rewrite the selected text."
        placeholder: "Write your own instruction"
        frameHeight: 8 * AppDesign.font(13).pixelSize
        onTextChanged: sheet.editor.instruction = text
    }
    ShortcutRecorderView {
        width: parent.width
        editor: sheet.editor
    }
    Item {
        width: parent.width
        height: save.implicitHeight

        AppText {
            anchors { left: parent.left; right: cancel.left; rightMargin: 12; verticalCenter: parent.verticalCenter }
            text: sheet.editor.problem
            visible: text !== ""
            size: 12
            color: AppDesign.secondary
            Accessible.role: Accessible.AlertMessage
        }
        AppButton {
            id: cancel
            objectName: "cancelEdit"
            anchors { right: save.left; rightMargin: 10 }
            text: "Cancel"
            onClicked: sheet.editor.close()
        }
        AppButton {
            id: save
            objectName: "saveAction"
            anchors.right: parent.right
            kind: "primary"
            text: "Save"
            enabled: sheet.editor.canSave
            Accessible.description: sheet.editor.problem
            onClicked: sheet.editor.save()
        }
    }
}
