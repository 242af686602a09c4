import QtQuick
import Quillmarsh.Kit 1.0

// A button: "primary" once per view, "secondary" for the rest, "quiet" where it should not compete.
Pressable {
    id: button

    property string kind: "secondary"
    property string text
    property string icon

    readonly property bool isPrimary: kind === "primary"
    readonly property bool isQuiet: kind === "quiet"
    readonly property color labelColor: isPrimary ? "white" : isQuiet ? AppDesign.accent : AppDesign.ink
    readonly property real horizontalPadding: isQuiet ? 0 : 17
    readonly property real verticalPadding: isQuiet ? 7 : 11

    readonly property real iconSpace: icon !== "" ? 14 + (text !== "" ? label.spacing : 0) : 0

    implicitWidth: Math.ceil(title.implicitWidth) + iconSpace + 2 * horizontalPadding
    implicitHeight: Math.ceil(title.implicitHeight) + 2 * verticalPadding
    opacity: !enabled ? AppDesign.disabledOpacity : pressed ? 0.8 : 1
    scale: pressed && !AppDesign.reduceMotion ? 0.98 : 1

    component PressAnimation: NumberAnimation {
        duration: AppDesign.pressDuration
        easing.type: Easing.BezierSpline
        easing.bezierCurve: AppDesign.pressCurve
    }

    Behavior on opacity { PressAnimation {} }
    Behavior on scale { PressAnimation {} }

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: click()

    RoundedBox {
        id: fill
        anchors.fill: parent
        // A quiet button has no padding at its sides; its highlight reaches a little beyond the label.
        anchors.leftMargin: button.isQuiet ? -8 : 0
        anchors.rightMargin: anchors.leftMargin
        radius: 10
        color: button.isPrimary ? AppDesign.accent
             : button.isQuiet ? AppDesign.tint(AppDesign.accent, button.hovered ? 0.08 : 0)
             : AppDesign.surface
        lineWidth: button.isQuiet ? 0 : 1
        lineColor: button.isPrimary ? Qt.rgba(1, 1, 1, 0.2) : AppDesign.outline

        RoundedBox {
            anchors.fill: parent
            radius: parent.radius
            visible: button.hovered && !button.isQuiet
            color: button.isPrimary ? Qt.rgba(1, 1, 1, 0.08) : AppDesign.tint(AppDesign.ink, 0.03)
        }
        FocusRing {
            shown: button.visualFocus
        }
    }

    Row {
        id: label
        anchors.centerIn: parent
        spacing: 7

        AppIcon {
            visible: button.icon !== ""
            name: button.icon
            size: 14
            color: button.labelColor
            anchors.verticalCenter: parent.verticalCenter
        }
        AppTextLine {
            id: title
            text: button.text
            size: 12
            weight: Font.Medium
            color: button.labelColor
            width: Math.min(Math.ceil(implicitWidth), button.width - 2 * button.horizontalPadding - button.iconSpace)
            anchors.verticalCenter: parent.verticalCenter
        }
    }
}
