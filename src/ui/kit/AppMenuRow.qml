import QtQuick
import Quillmarsh.Kit 1.0

// One line of a menu panel: a symbol, a name, a note under it, and the shortcut at its end.
Pressable {
    id: row

    property string text
    property string icon
    property string shortcut
    property string note

    implicitWidth: lines.anchors.leftMargin + 26 + Math.ceil(name.implicitWidth) + lines.anchors.rightMargin
                   + keys.implicitWidth + 10
    implicitHeight: Math.ceil(lines.implicitHeight) + 14
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.description: note !== "" ? note : shortcut
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 8
        color: AppDesign.tint(AppDesign.accent, row.pressed ? 0.06 : row.hovered || row.visualFocus ? 0.05 : 0)

        FocusRing { shown: row.visualFocus; distance: -2; cornerRadius: 8 }
    }
    AppIcon {
        id: symbol
        name: row.icon
        color: row.hovered || row.visualFocus ? AppDesign.accent : AppDesign.secondary
        anchors { left: parent.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
    }
    Column {
        id: lines
        anchors {
            left: symbol.right
            leftMargin: 11
            right: keys.left
            rightMargin: keys.width > 0 ? 12 : 0
            verticalCenter: parent.verticalCenter
        }

        AppTextLine {
            id: name
            width: parent.width
            text: row.text
            wrapMode: Text.Wrap
            maximumLineCount: 2
            horizontalAlignment: Text.AlignLeft // beside its symbol, whichever way it reads
        }
        ShortcutSentence {
            width: parent.width
            text: row.note
            shortcut: row.shortcut
            visible: text !== ""
            size: 11
            tone: AppDesign.secondary
            Accessible.ignored: true
        }
    }
    KeycapRow {
        id: keys
        anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
        text: row.shortcut
        framed: false
        Accessible.ignored: true
    }
}
