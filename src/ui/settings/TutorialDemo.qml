import QtQuick
import "qrc:/quillmarsh/kit"

// The first step: the gesture, practised on a sentence.
Column {
    property var models

    spacing: 16

    AppText {
        width: parent.width
        text: "Select text in any app and press a shortcut: your words come back clearer, in the same place. Try it here first."
        color: AppDesign.secondary
        lineHeight: 1.15
        height: Math.ceil(implicitHeight)
    }
    WritingExample {
        width: parent.width
        demo: parent.models.demo
    }
}
