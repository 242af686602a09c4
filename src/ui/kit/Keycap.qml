import QtQuick
import Quillmarsh.Kit 1.0

// One key of a shortcut. Modifier signs are drawn: few fonts have all four, and none in the weight of the letters.
RoundedBox {
    id: cap

    property string text
    readonly property string symbol: ({ "⌃": "control", "⌥": "option", "⇧": "shift", "⌘": "command" })[text] || ""

    implicitWidth: Math.max(symbol !== "" ? 0 : Math.ceil(label.implicitWidth) + 18, implicitHeight)
    implicitHeight: Math.ceil(label.implicitHeight) + 12
    radius: 6
    color: AppDesign.surface
    lineWidth: 0.6
    lineInset: 0.5
    lineColor: AppDesign.secondary

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    AppText {
        id: label
        anchors.centerIn: parent
        text: cap.text
        visible: cap.symbol === ""
        size: 11
        weight: Font.Medium
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
    AppIcon {
        anchors.centerIn: parent
        visible: cap.symbol !== ""
        name: cap.symbol
        size: 13
    }
}
