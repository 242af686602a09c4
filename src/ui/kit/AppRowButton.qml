import QtQuick
import Quillmarsh.Kit 1.0

// A framed button as wide as its place: a symbol, one or two lines, and what stands at its end.
Pressable {
    id: button

    property string text
    property string subtitle
    property string icon
    default property alias trailing: end.data

    readonly property real padding: 9

    implicitWidth: 240
    implicitHeight: Math.max(lines.implicitHeight, end.implicitHeight, 22) + 2 * padding
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: subtitle
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 10
        color: button.pressed ? Qt.tint(AppDesign.surface, AppDesign.tint(AppDesign.accent, 0.06))
             : button.hovered ? AppDesign.page : AppDesign.surface
        lineWidth: 0.5
        lineColor: AppDesign.outline

        FocusRing { shown: button.visualFocus }
    }
    AppIcon {
        id: symbol
        name: button.icon
        visible: button.icon !== ""
        color: AppDesign.accent
        anchors { left: parent.left; leftMargin: button.padding; verticalCenter: parent.verticalCenter }
    }
    Column {
        id: lines
        anchors {
            left: parent.left
            leftMargin: symbol.visible ? button.padding + symbol.size + 10 : button.padding
            right: end.left
            rightMargin: 10
            verticalCenter: parent.verticalCenter
        }
        spacing: 1

        AppTextLine {
            width: parent.width
            text: button.text
            weight: Font.Medium
        }
        AppText {
            width: parent.width
            text: button.subtitle
            visible: text !== ""
            size: 11
            color: AppDesign.secondary
            Accessible.ignored: true
        }
    }
    Row {
        id: end
        spacing: 8
        anchors { right: parent.right; rightMargin: button.padding; verticalCenter: parent.verticalCenter }
    }
}
