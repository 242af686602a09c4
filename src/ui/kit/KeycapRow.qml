import QtQuick

// A shortcut as keys: each modifier sign on a cap of its own, then the key with its whole name.
Row {
    id: row

    property string text
    property bool framed: true
    property real size: framed ? 11 : 12
    property color tone: framed ? AppDesign.ink : AppDesign.secondary
    readonly property var keys: split(text)

    function split(shortcut) {
        const keys = []
        let rest = shortcut
        while (rest.length > 1 && "⌃⌥⇧⌘".indexOf(rest[0]) >= 0) {
            keys.push(rest[0])
            rest = rest.substring(1)
        }
        if (rest !== "")
            keys.push(rest)
        return keys
    }

    spacing: framed ? 4 : 2
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Repeater {
        model: row.keys

        Keycap {
            required property string modelData
            text: modelData
            framed: row.framed
            size: row.size
            tone: row.tone
            Accessible.ignored: true
        }
    }
}
