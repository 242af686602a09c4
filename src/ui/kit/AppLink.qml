import QtQuick
import Quillmarsh.Kit 1.0

// A text that leads elsewhere.
Pressable {
    id: link

    property string text
    property real size: 12

    implicitWidth: Math.ceil(label.implicitWidth)
    implicitHeight: Math.ceil(label.implicitHeight) + 4
    opacity: !enabled ? AppDesign.disabledOpacity : pressed ? 0.8 : 1

    Accessible.role: Accessible.Link
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    HoverHandler { cursorShape: Qt.PointingHandCursor }

    AppTextLine {
        id: label
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        text: link.text
        size: link.size
        weight: Font.Medium
        color: AppDesign.accent
    }
    Rectangle {
        anchors { left: label.left; bottom: label.bottom; bottomMargin: 1 }
        width: Math.min(label.implicitWidth, label.width)
        height: 1
        color: AppDesign.accent
        visible: link.hovered
    }
    FocusRing { shown: link.visualFocus; cornerRadius: 3 }
}
