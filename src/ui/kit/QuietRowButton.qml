import QtQuick
import Quillmarsh.Kit 1.0

// A row without a frame that can be pressed; it shows itself under the pointer.
Pressable {
    id: button

    property string text
    property string detail
    property string icon
    property color iconColor: AppDesign.secondary
    default property alias trailing: end.data

    implicitWidth: 240
    implicitHeight: Math.max(Math.ceil(label.implicitHeight), end.implicitHeight) + 14
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: detail
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 8
        color: AppDesign.tint(AppDesign.accent, button.pressed ? 0.06 : button.hovered ? 0.035 : 0)

        FocusRing { shown: button.visualFocus; distance: 0; cornerRadius: 8 }
    }
    AppIcon {
        id: symbol
        name: button.icon
        visible: button.icon !== ""
        color: button.iconColor
        anchors { left: parent.left; leftMargin: 9; verticalCenter: parent.verticalCenter }
    }
    AppTextLine {
        id: label
        text: button.text
        anchors {
            left: parent.left
            leftMargin: symbol.visible ? 9 + symbol.size + 10 : 9
            right: detailText.visible ? detailText.left : end.left
            rightMargin: 8
            verticalCenter: parent.verticalCenter
        }
    }
    AppText {
        id: detailText
        text: button.detail
        visible: text !== ""
        size: 12
        color: button.hovered || button.pressed ? AppDesign.ink : AppDesign.secondary
        wrapMode: Text.NoWrap
        anchors { right: end.left; rightMargin: end.implicitWidth > 0 ? 8 : 0; verticalCenter: parent.verticalCenter }
        Accessible.ignored: true
    }
    Row {
        id: end
        spacing: 6
        anchors { right: parent.right; rightMargin: 9; verticalCenter: parent.verticalCenter }
    }
}
