import QtQuick
import Quillmarsh.Kit 1.0

// The button of a toast, light on dark.
Pressable {
    id: button

    property string text

    width: visible ? Math.ceil(label.implicitWidth) + 20 : 0
    height: Math.ceil(label.implicitHeight) + 12

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 8
        color: Qt.rgba(1, 1, 1, button.pressed ? 0.2 : button.hovered ? 0.14 : 0.08)
        lineWidth: button.visualFocus ? 2 : 0
        lineColor: "white"
    }
    AppText {
        id: label
        anchors.centerIn: parent
        text: button.text
        size: 12
        weight: Font.DemiBold
        color: AppDesign.accentSoft
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
}
