import QtQuick
import Quillmarsh.Kit 1.0

// A line at the bottom that tells what was done and offers to undo it, for a few seconds. It waits while the pointer
// or the keyboard is on it.
FocusScope {
    id: toast

    property string text
    property string actionText
    property int duration: 6000
    property bool shown: false

    signal triggered()
    signal closed()

    function show() {
        shown = true
        timer.restart()
    }

    function hide() {
        if (!shown)
            return
        shown = false
        timer.stop()
        closed()
    }

    anchors { bottom: parent.bottom; bottomMargin: 20; horizontalCenter: parent.horizontalCenter }
    implicitWidth: Math.min(parent.width - 40,
                            Math.ceil(label.implicitWidth) + action.width + (action.visible ? 48 : 32))
    implicitHeight: Math.max(Math.ceil(label.implicitHeight) + 22, 40)
    visible: opacity > 0
    enabled: shown
    opacity: shown ? 1 : 0
    z: 400

    Behavior on opacity { NumberAnimation { duration: AppDesign.appearDuration } }

    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Keys.onEscapePressed: hide()

    Timer {
        id: timer
        interval: toast.duration
        running: toast.shown && !hover.hovered && !toast.activeFocus
        onTriggered: toast.hide()
    }
    HoverHandler { id: hover }

    RoundedBox {
        anchors.fill: parent
        radius: 12
        color: AppDesign.ink
    }
    AppTextLine {
        id: label
        anchors {
            left: parent.left
            leftMargin: 16
            right: action.visible ? action.left : parent.right
            rightMargin: 16
            verticalCenter: parent.verticalCenter
        }
        text: toast.text
        size: 12
        weight: Font.Medium
        color: "white"
    }
    AppToastAction {
        id: action
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
        visible: text !== ""
        text: toast.actionText
        focus: true
        onClicked: {
            toast.hide()
            toast.triggered()
        }
    }
}
