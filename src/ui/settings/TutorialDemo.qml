import QtQuick
import "qrc:/quillmarsh/kit"

// The first step: the gesture, practised on a sentence.
Column {
    property var models

    spacing: 16

    AppTextParagraph {
        width: parent.width
        text: "Select text in any app and press a shortcut: your words come back clearer, in the same place. Try it here first."
    }
    WritingExample {
        width: parent.width
        demo: parent.models.demo
    }
}
