import QtQuick
import Quillmarsh.Kit 1.0

// One row of a sidebar.
Pressable {
    id: button

    property string text
    property string icon
    property bool selected: false

    implicitWidth: 196
    implicitHeight: Math.ceil(label.implicitHeight) + 18
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.PageTab
    Accessible.name: text
    Accessible.description: selected ? "Selected" : ""
    Accessible.focusable: true
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 10
        color: AppDesign.tint(AppDesign.accent, button.selected ? 0.06 : button.hovered || button.pressed ? 0.035 : 0)

        FocusRing { shown: button.visualFocus; distance: 0 }
    }
    AppIcon {
        id: symbol
        name: button.icon
        size: 17
        opacity: label.opacity
        color: button.selected ? AppDesign.accent : AppDesign.secondary
        anchors { left: parent.left; leftMargin: 11; verticalCenter: parent.verticalCenter }
    }
    AppTextLine {
        id: label
        text: button.text
        weight: button.selected ? Font.DemiBold : Font.Medium
        opacity: button.pressed ? 0.7 : 1
        anchors {
            left: symbol.right
            leftMargin: 10
            right: parent.right
            rightMargin: 10
            verticalCenter: parent.verticalCenter
        }
    }
}
