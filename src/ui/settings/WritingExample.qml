import QtQuick
import Quillmarsh.Kit 1.0
import "qrc:/quillmarsh/kit"

// The demo: a sentence to select and to rewrite with Control-R, without any back end.
AppCard {
    id: example

    required property var demo

    padding: 24
    spacing: 16
    Component.onCompleted: demo.tryAgain()

    // As high in every state, so that the text below never jumps; a heading alone stands in its middle.
    Item {
        width: parent.width
        height: Math.ceil(heading.implicitHeight + guidance.spacing + guidanceHeight.implicitHeight)

        Column {
            width: parent.width
            spacing: guidance.spacing
            anchors.verticalCenter: parent.verticalCenter

            Item {
                width: parent.width
                height: heading.implicitHeight

                AppIcon {
                    id: mark
                    visible: example.demo.isComplete
                    name: "checkmark.circle.fill"
                    size: 22
                    color: AppDesign.success
                    anchors.verticalCenter: parent.verticalCenter
                }
                AppText {
                    id: heading
                    objectName: "demoHeading"
                    x: mark.visible ? 32 : 0
                    width: parent.width - x
                    text: example.demo.heading
                    size: 17
                    weight: Font.DemiBold
                    color: example.demo.isComplete ? AppDesign.success : AppDesign.ink
                    anchors.verticalCenter: parent.verticalCenter
                    Accessible.role: Accessible.Heading
                }
            }
            Flow {
                id: guidance
                width: parent.width
                visible: example.demo.instruction !== ""
                spacing: 6

                AppText {
                    id: guidanceHeight
                    text: example.demo.instruction || " "
                    weight: Font.Medium
                }
                AppText {
                    text: example.demo.hint
                    color: AppDesign.secondary
                }
            }
        }
    }
    RoundedBox {
        width: parent.width
        height: sentence.implicitHeight + 16
        radius: 12
        color: AppDesign.page
        lineWidth: sentence.activeFocus ? 1.5 : 1
        lineColor: sentence.activeFocus ? AppDesign.accent : AppDesign.outline

        TextEdit {
            id: sentence
            objectName: "demoText"
            anchors { left: parent.left; right: parent.right; margins: 18; verticalCenter: parent.verticalCenter }
            topPadding: 10
            bottomPadding: 10
            text: example.demo.text
            readOnly: true
            selectByMouse: true
            selectByKeyboard: true
            persistentSelection: true
            activeFocusOnTab: true
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            font: AppDesign.font(22)
            color: AppDesign.ink
            selectionColor: AppDesign.accentSoft
            selectedTextColor: AppDesign.accent
            renderType: Text.NativeRendering

            Accessible.role: Accessible.EditableText
            Accessible.name: "Demo text"
            Accessible.description: "Select the whole sentence, then press Control R to rewrite it."
            Accessible.readOnly: true

            onTextChanged: example.demo.styleDocument(textDocument)
            Component.onCompleted: example.demo.styleDocument(textDocument)
            onSelectionStartChanged: example.demo.selectionChanged(selectionStart, selectionEnd)
            onSelectionEndChanged: example.demo.selectionChanged(selectionStart, selectionEnd)
            onActiveFocusChanged: example.demo.setFocused(activeFocus)

            Keys.onPressed: (event) => {
                event.accepted = example.demo.keyDown(event.nativeScanCode, event.modifiers, event.isAutoRepeat)
            }

            HoverHandler { cursorShape: Qt.IBeamCursor }
            Connections {
                target: example.demo
                function onRewritten() {
                    sentence.selectAll()
                    example.demo.announceChange(sentence)
                }
            }
        }
    }
    // Below everything else: it comes and goes without moving the sentence.
    Item {
        width: parent.width
        visible: example.demo.isComplete || example.demo.pressText !== ""
        height: Math.max(again.implicitHeight, keys.implicitHeight)

        AppButton {
            id: again
            objectName: "tryAgain"
            visible: example.demo.isComplete
            icon: "arrow.counterclockwise"
            text: "Try again"
            anchors.verticalCenter: parent.verticalCenter
            onClicked: {
                example.demo.tryAgain()
                sentence.forceActiveFocus()
                sentence.deselect()
            }
        }
        Row {
            visible: example.demo.pressText !== ""
            spacing: 8
            anchors.verticalCenter: parent.verticalCenter

            AppText {
                height: keys.implicitHeight
                text: example.demo.pressText
                weight: Font.Medium
                verticalAlignment: Text.AlignVCenter
            }
            Row {
                id: keys
                spacing: 4

                Keycap { text: "Control" }
                Keycap { text: "R" }
            }
        }
    }
}
