import QtQuick
import Quillmarsh.Kit 1.0

// A small button that is only a symbol. `text` is what it is called.
Pressable {
    id: button

    property string text
    property string icon
    property real iconSize: 16
    property color iconColor: AppDesign.secondary

    implicitWidth: 30
    implicitHeight: 30
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 8
        color: AppDesign.tint(AppDesign.accent, button.pressed ? 0.12 : button.hovered ? 0.06 : 0)

        FocusRing { shown: button.visualFocus; cornerRadius: 8; distance: 0 }
    }
    AppIcon {
        anchors.centerIn: parent
        name: button.icon
        size: button.iconSize
        color: button.hovered || button.visualFocus ? AppDesign.ink : button.iconColor
    }
}
