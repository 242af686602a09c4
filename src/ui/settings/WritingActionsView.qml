import QtQuick
import "qrc:/quillmarsh/kit"

// The writing actions, to be made, changed, ordered and deleted.
Item {
    id: view

    required property var models
    readonly property var actions: models.actions

    AppText {
        id: total
        anchors { left: parent.left; leftMargin: 32; verticalCenter: create.verticalCenter }
        text: view.actions.countText
        color: AppDesign.secondary
    }
    AppButton {
        id: create
        objectName: "newAction"
        anchors { right: parent.right; rightMargin: 32; top: parent.top; topMargin: 24 }
        kind: "primary"
        icon: "plus"
        text: "New action"
        onClicked: view.models.editor.create()
    }
    Column {
        anchors { horizontalCenter: parent.horizontalCenter; verticalCenter: parent.verticalCenter }
        visible: view.actions.count === 0
        width: Math.min(320 * AppDesign.textScale, parent.width - 64)
        spacing: 6

        Rectangle {
            width: 52
            height: 52
            radius: 16
            color: AppDesign.accentSoft
            anchors.horizontalCenter: parent.horizontalCenter

            AppIcon {
                anchors.centerIn: parent
                name: "command"
                size: 24
                color: AppDesign.accent
            }
        }
        Item { width: 1; height: 6 }
        AppText {
            width: parent.width
            text: "Your first writing action starts here."
            size: 15
            weight: Font.DemiBold
            horizontalAlignment: Text.AlignHCenter
        }
        AppText {
            width: parent.width
            text: "Add an instruction and give it a shortcut."
            color: AppDesign.secondary
            horizontalAlignment: Text.AlignHCenter
        }
    }
    ListView {
        id: list
        objectName: "actionList"

        anchors { left: parent.left; right: parent.right; top: create.bottom; topMargin: 10; bottom: parent.bottom }
        topMargin: 6 // for the ring around the first row
        leftMargin: 32
        rightMargin: 32
        bottomMargin: 32
        visible: count > 0
        model: view.actions
        spacing: 8
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false

        Accessible.role: Accessible.List
        Accessible.name: "Writing actions"

        move: Transition { AppearAnimation { property: "y" } }
        displaced: Transition { AppearAnimation { property: "y" } }
        remove: Transition { NumberAnimation { property: "opacity"; to: 0; duration: AppDesign.appearDuration } }

        delegate: WritingActionRow {
            width: ListView.view.width - 64
            actions: view.actions
            editor: view.models.editor
            // The list keeps the focus with its current row when rows move.
            onReached: {
                list.currentIndex = index
                list.positionViewAtIndex(index, ListView.Contain)
                frame.reveal(y, height)
            }
        }
    }
    ScrollFrame {
        id: frame
        anchors.fill: list
        view: list
    }
}
