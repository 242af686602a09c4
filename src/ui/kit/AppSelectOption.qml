import QtQuick
import Quillmarsh.Kit 1.0

// One of several that the user chooses from, with a name, a line about it and a symbol.
Pressable {
    id: option

    property string title
    property string subtitle
    property string symbol
    property bool selected: false

    implicitWidth: 300
    implicitHeight: Math.max(Math.ceil(texts.implicitHeight), 32) + 22
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    Accessible.role: Accessible.RadioButton
    Accessible.name: title
    Accessible.description: subtitle
    Accessible.focusable: true
    Accessible.checkable: true
    Accessible.checked: selected
    Accessible.onPressAction: click()
    Accessible.onToggleAction: click()

    RoundedBox {
        anchors.fill: parent
        radius: 12
        color: option.selected ? AppDesign.accentSoft
             : option.pressed ? Qt.tint(AppDesign.surface, AppDesign.tint(AppDesign.accent, 0.06))
             : option.hovered ? AppDesign.page : AppDesign.surface
        lineWidth: 1
        lineColor: option.selected ? AppDesign.accent : AppDesign.outline

        FocusRing { shown: option.visualFocus; cornerRadius: 12 }
    }
    RoundedBox {
        id: plate
        width: 32
        height: 32
        radius: 9
        visible: option.symbol !== ""
        color: option.selected ? AppDesign.surface : AppDesign.muted
        anchors { left: parent.left; leftMargin: 12; verticalCenter: parent.verticalCenter }

        AppIcon {
            anchors.centerIn: parent
            name: option.symbol
            color: option.selected ? AppDesign.accent : AppDesign.secondary
        }
    }
    Column {
        id: texts
        anchors {
            left: parent.left
            leftMargin: plate.visible ? 56 : 14
            right: dot.left
            rightMargin: 10
            verticalCenter: parent.verticalCenter
        }
        spacing: 1

        AppTextLine {
            width: parent.width
            text: option.title
            weight: Font.Medium
        }
        AppText {
            width: parent.width
            text: option.subtitle
            visible: text !== ""
            size: 11
            // The quieter ink would be too faint on the soft accent.
            color: option.selected ? AppDesign.ink : AppDesign.secondary
            Accessible.ignored: true
        }
    }
    RoundedBox {
        id: dot
        width: 18
        height: 18
        radius: 9
        color: option.selected ? AppDesign.accent : "transparent"
        lineWidth: option.selected ? 0 : 1.5
        lineColor: AppDesign.tint(AppDesign.secondary, 0.5)
        anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }

        AppIcon {
            anchors.centerIn: parent
            visible: option.selected
            name: "checkmark"
            size: 12
            color: "white"
        }
    }
}
