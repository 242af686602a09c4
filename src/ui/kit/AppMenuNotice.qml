import QtQuick
import Quillmarsh.Kit 1.0

// A line of a menu panel that asks for something. Without a text it takes no room.
Pressable {
    id: notice

    property string text
    property string icon

    implicitWidth: 240
    implicitHeight: Math.ceil(label.implicitHeight) + 22
    height: visible ? implicitHeight : 0
    visible: text !== ""

    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors { fill: parent; topMargin: 2; bottomMargin: 2 }
        radius: 8
        color: AppDesign.accentSoft
        lineWidth: 1
        lineColor: AppDesign.tint(AppDesign.accent, notice.pressed ? 0.5 : notice.hovered ? 0.3 : 0)

        FocusRing { shown: notice.visualFocus; distance: -2; cornerRadius: 8 }
    }
    AppIcon {
        id: symbol
        name: notice.icon
        color: AppDesign.accent
        anchors { left: parent.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
    }
    AppText {
        id: label
        text: notice.text
        size: 12
        weight: Font.Medium
        color: AppDesign.accent
        anchors {
            left: symbol.right
            leftMargin: 11
            right: arrow.left
            rightMargin: 8
            verticalCenter: parent.verticalCenter
        }
        Accessible.ignored: true
    }
    AppIcon {
        id: arrow
        name: "chevron.right"
        size: 14
        color: AppDesign.accent
        anchors { right: parent.right; rightMargin: 8; verticalCenter: parent.verticalCenter }
    }
}
