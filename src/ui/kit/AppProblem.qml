import QtQuick

// What went wrong, told to a screen reader at once. Without a text it takes no room.
Item {
    id: problem

    property alias text: label.text

    height: visible ? Math.max(sign.y + sign.size, label.implicitHeight) : 0
    visible: text !== ""

    AppIcon {
        id: sign
        y: AppDesign.besideLine(label.size, size)
        name: "exclamationmark.circle"
        size: 17
    }
    AppText {
        id: label
        anchors { left: sign.right; leftMargin: 10; right: parent.right }
        lineHeight: 1.15
        Accessible.role: Accessible.AlertMessage
    }
}
