import QtQuick
import "qrc:/quillmarsh/kit"

Rectangle {
    width: 560
    height: 460
    color: AppDesign.page

    AppButton { objectName: "behind"; x: 20; y: 20; text: "Behind" }

    AppSheet {
        objectName: "sheet"
        title: "New writing action"
        AppTextField { objectName: "first"; width: parent.width; title: "Name"; placeholder: "e.g. Formal, Casual, Shorter..." }
        AppTextArea { objectName: "second"; width: parent.width; title: "Instruction"; placeholder: "Write your own instruction"; hint: "Tell the AI how to rewrite the selected text." }
        Row {
            anchors.right: parent.right
            spacing: 10
            AppButton { text: "Cancel" }
            AppButton { objectName: "last"; kind: "primary"; text: "Save" }
        }
    }
    AppAlert {
        objectName: "alert"
        title: "Shortcut Already in Use"
        message: "This keyboard shortcut is already assigned to \"Formal\". Please choose a different shortcut."
        buttons: ["OK"]
    }
}
