import QtQuick

// A sentence that names a shortcut. The combination is drawn, as few fonts have its signs.
Flow {
    id: sentence

    property string text
    property string shortcut
    property real size: 12
    property color tone: AppDesign.ink
    readonly property var pieces: shortcut !== "" ? text.split(shortcut) : [text]

    spacing: 4
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    AppText {
        width: Math.min(implicitWidth, sentence.width)
        text: sentence.pieces[0].trim()
        size: sentence.size
        color: sentence.tone
        Accessible.ignored: true
    }
    Row {
        visible: sentence.pieces.length > 1

        KeycapRow {
            text: sentence.shortcut
            framed: false
            size: sentence.size
            tone: sentence.tone
            Accessible.ignored: true
        }
        AppText {
            text: sentence.pieces.length > 1 ? sentence.pieces[1].charAt(0).trim() : "" // the punctuation stays with it
            size: sentence.size
            color: sentence.tone
            Accessible.ignored: true
        }
    }
    AppText {
        width: Math.min(implicitWidth, sentence.width)
        text: sentence.pieces.length > 1 ? sentence.pieces[1].substring(1).trim() : ""
        size: sentence.size
        color: sentence.tone
        Accessible.ignored: true
    }
}
