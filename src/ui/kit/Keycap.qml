import QtQuick
import Quillmarsh.Kit 1.0

// One key of a shortcut. Modifier signs are drawn: few fonts have all four, and none in the weight of the letters.
RoundedBox {
    id: cap

    property string text
    // Without its frame it is the bare sign, as menus show shortcuts.
    property bool framed: true
    readonly property string symbol: ({ "⌃": "control", "⌥": "option", "⇧": "shift", "⌘": "command" })[text] || ""

    implicitWidth: framed ? Math.max(symbol !== "" ? 0 : Math.ceil(label.implicitWidth) + 18, implicitHeight)
                          : symbol !== "" ? sign.size : Math.ceil(label.implicitWidth)
    implicitHeight: Math.ceil(label.implicitHeight) + (framed ? 12 : 0)
    radius: 6
    color: framed ? AppDesign.surface : "transparent"
    lineWidth: framed ? 0.6 : 0
    lineInset: 0.5
    lineColor: AppDesign.secondary

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    AppText {
        id: label
        anchors.centerIn: parent
        text: cap.text
        visible: cap.symbol === ""
        size: cap.framed ? 11 : 12
        color: cap.framed ? AppDesign.ink : AppDesign.secondary
        weight: Font.Medium
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
    AppIcon {
        id: sign
        anchors.centerIn: parent
        visible: cap.symbol !== ""
        name: cap.symbol
        size: cap.framed ? 13 : 12
        color: cap.framed ? AppDesign.ink : AppDesign.secondary
    }
}
