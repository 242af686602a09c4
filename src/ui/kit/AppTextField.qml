import QtQuick
import Quillmarsh.Kit 1.0

// One line of text. `secret` hides what is typed until the user asks to see it; hidden text is not told to a screen
// reader.
FocusScope {
    id: field

    property alias text: input.text
    property string title
    property string placeholder
    property string hint
    property string errorText
    property bool secret: false
    property bool revealed: false
    property alias readOnly: input.readOnly
    property alias maximumLength: input.maximumLength
    property alias input: input

    signal accepted()
    signal edited()

    function selectAll() { input.selectAll() }
    function clear() { input.clear() }

    implicitWidth: 280
    implicitHeight: (below.visible ? below.y + Math.ceil(below.height) : frame.y + frame.height)
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    AppText {
        id: caption
        text: field.title
        visible: text !== ""
        size: 12
        weight: Font.Medium
        Accessible.ignored: true
    }
    RoundedBox {
        id: frame
        y: caption.visible ? Math.ceil(caption.height) + 6 : 0
        width: parent.width
        height: Math.ceil(input.implicitHeight) + 20
        radius: 10
        color: AppDesign.surface
        lineWidth: input.activeFocus ? 1.5 : 1
        lineColor: input.activeFocus ? AppDesign.accent : hover.hovered ? AppDesign.tint(AppDesign.secondary, 0.6) : AppDesign.outline

        HoverHandler { id: hover; cursorShape: Qt.IBeamCursor }

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
            inputMethodHints: field.secret ? Qt.ImhSensitiveData | Qt.ImhNoPredictiveText | Qt.ImhNoAutoUppercase : Qt.ImhNone
            onAccepted: field.accepted()
            onTextEdited: field.edited()

            Accessible.role: Accessible.EditableText
            Accessible.name: field.title !== "" ? field.title : field.placeholder
            Accessible.description: field.errorText !== "" ? field.errorText : field.hint
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
    AppText {
        id: below
        y: frame.y + frame.height + 5
        width: parent.width
        text: field.errorText !== "" ? field.errorText : field.hint
        visible: text !== ""
        size: 11
        color: field.errorText !== "" ? AppDesign.ink : AppDesign.secondary
        Accessible.ignored: true
    }
}
