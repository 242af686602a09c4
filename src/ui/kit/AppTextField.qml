import QtQuick

// One line of text. `secret` hides what is typed until the user asks to see it; hidden text is not told to a screen
// reader.
AppInputFrame {
    id: field

    property alias text: input.text
    property string placeholder
    property bool secret: false
    property bool revealed: false
    property alias readOnly: input.readOnly
    property alias input: input

    signal accepted()
    signal edited()

    frameHeight: Math.ceil(input.implicitHeight) + 20
    active: input.activeFocus

    TextInput {
        id: input
        anchors {
            left: parent.left
            leftMargin: 12
            right: eye.visible ? eye.left : parent.right
            rightMargin: eye.visible ? 4 : 12
            top: parent.top
            bottom: parent.bottom
        }
        verticalAlignment: TextInput.AlignVCenter
        focus: true
        activeFocusOnTab: true
        clip: true
        font: AppDesign.font(13)
        color: AppDesign.ink
        selectByMouse: true
        selectionColor: AppDesign.accent
        selectedTextColor: "white"
        renderType: Text.NativeRendering
        echoMode: field.secret && !field.revealed ? TextInput.Password : TextInput.Normal
        passwordCharacter: "•"
        inputMethodHints: field.secret ? Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase
                                       : Qt.ImhNone
        onAccepted: field.accepted()
        onTextEdited: field.edited()

        Accessible.role: Accessible.EditableText
        Accessible.name: field.title !== "" ? field.title : field.placeholder
        Accessible.description: field.hint
    }
    AppTextLine {
        anchors.fill: input
        verticalAlignment: Text.AlignVCenter
        text: field.placeholder
        visible: input.text === "" && input.preeditText === ""
        color: AppDesign.secondary
    }
    AppIconButton {
        id: eye
        anchors { right: parent.right; rightMargin: 5; verticalCenter: parent.verticalCenter }
        visible: field.secret
        icon: field.revealed ? "eye.slash" : "eye"
        text: field.revealed ? "Hide" : "Show"
        onClicked: field.revealed = !field.revealed
    }
}
