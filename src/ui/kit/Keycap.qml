import QtQuick
import Quillmarsh.Kit 1.0

// One key of a shortcut. Modifier signs are drawn: few fonts have all four, and none in the weight of the letters.
RoundedBox {
    id: cap

    property string text
    // Without its frame it is the bare sign, as menus show shortcuts.
    property bool framed: true
    property real size: framed ? 11 : 12
    property color tone: framed ? AppDesign.ink : AppDesign.secondary
    readonly property real content: symbol !== "" ? sign.size : Math.ceil(label.implicitWidth)
    readonly property var symbols: ({ "⌃": "control", "⌥": "option", "⇧": "shift", "⌘": "command" })
    readonly property string symbol: symbols[text] || ""

    implicitWidth: framed ? Math.max(content + 18, implicitHeight) : content
    // Of the font's line, whatever the text is: a sign has no glyph in the font, and the one that stands in is higher.
    implicitHeight: Math.ceil(letter.height) + (framed ? 12 : 0)
    radius: 6
    color: framed ? AppDesign.surface : "transparent"
    lineWidth: framed ? 0.6 : 0
    lineInset: 0.5
    lineColor: AppDesign.secondary

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    FontMetrics {
        id: letter
        font: label.font
    }
    AppText {
        id: label
        anchors.centerIn: parent
        text: cap.text
        visible: cap.symbol === ""
        font: AppDesign.monospaced(cap.size)
        color: cap.tone
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
    AppIcon {
        id: sign
        anchors.centerIn: parent
        visible: cap.symbol !== ""
        name: cap.symbol
        size: Math.round(letter.font.pixelSize * (cap.framed ? 1.18 : 1)) // grows with the letters
        color: cap.tone
    }
}
