import QtQuick
import Quillmarsh.Kit 1.0
import "qrc:/quillmarsh/kit"

// One writing action. A click or Return edits it, Alt with the arrows moves it, Delete removes it.
Pressable {
    id: row

    required property int index
    required property string name
    required property string symbol
    required property string shortcut
    required property string refusal
    required property bool isFirst
    required property bool isLast
    property var actions
    property var editor

    signal reached()

    function walk(step) {
        const view = ListView.view
        const next = view.itemAtIndex(index + step)
        if (next)
            next.forceActiveFocus(Qt.TabFocusReason)
    }

    implicitHeight: Math.max(lines.implicitHeight, 34) + 22
    onClicked: editor.edit(index)
    onActiveFocusChanged: if (activeFocus) reached()

    Keys.onPressed: (event) => {
        const moves = event.modifiers & Qt.AltModifier
        event.accepted = true
        if (event.key === Qt.Key_Up)
            moves ? actions.moveUp(index) : walk(-1)
        else if (event.key === Qt.Key_Down)
            moves ? actions.moveDown(index) : walk(1)
        else if (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace)
            actions.remove(index)
        else
            event.accepted = false
    }

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: refusal !== "" ? refusal : shortcut
    Accessible.focusable: true
    Accessible.onPressAction: click()

    Rectangle {
        anchors.fill: parent
        radius: 12
        color: row.pressed ? Qt.tint(AppDesign.surface, AppDesign.tint(AppDesign.accent, 0.06))
             : row.hovered ? AppDesign.page : AppDesign.surface
        border.width: 1
        border.color: AppDesign.outline
    }
    FocusRing { shown: row.visualFocus; cornerRadius: 12 }
    Rectangle {
        id: plate
        width: 34
        height: 34
        radius: 10
        color: AppDesign.accentSoft
        anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }

        AppIcon {
            anchors.centerIn: parent
            name: row.symbol
            size: 17
            color: AppDesign.accent
        }
    }
    Column {
        id: lines
        anchors {
            left: plate.right
            leftMargin: 12
            right: keys.left
            rightMargin: 12
            verticalCenter: parent.verticalCenter
        }
        spacing: 2

        AppTextLine {
            width: parent.width
            text: row.name
            wrapMode: Text.Wrap
            maximumLineCount: 2
            weight: Font.Medium
            horizontalAlignment: Text.AlignLeft // beside its symbol, whichever way it reads
        }
        ShortcutSentence {
            width: parent.width
            text: row.refusal
            shortcut: row.shortcut
            visible: text !== ""
            tone: AppDesign.secondary
            Accessible.ignored: true
        }
    }
    KeycapRow {
        id: keys
        anchors { right: menu.left; rightMargin: visible ? 8 : 0; verticalCenter: parent.verticalCenter }
        visible: text !== ""
        width: visible ? implicitWidth : 0
        text: row.shortcut
        tone: row.refusal === "" ? AppDesign.ink : AppDesign.secondary
        Accessible.ignored: true
    }
    AppMenuButton {
        id: menu
        objectName: "actionMenu"
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
        text: "Actions for " + row.name
        items: [
            { title: "Edit", symbol: "pencil" },
            { title: "Move up", symbol: "arrow.up", enabled: !row.isFirst },
            { title: "Move down", symbol: "arrow.down", enabled: !row.isLast },
            { title: "Delete", symbol: "trash" }
        ]
        onTriggered: (choice) => {
            if (choice === 0)
                row.editor.edit(row.index)
            else if (choice === 1)
                row.actions.moveUp(row.index)
            else if (choice === 2)
                row.actions.moveDown(row.index)
            else
                row.actions.remove(row.index)
        }
    }
}
