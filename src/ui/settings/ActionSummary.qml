import QtQuick
import "qrc:/quillmarsh/kit"

// A writing action as one line: what it is called and how it is called up.
QuietRowButton {
    id: summary

    property string actionName
    property string actionSymbol
    property string shortcutText

    // As high without keycaps as with them.
    implicitHeight: Math.max(40, keys.implicitHeight + 12)
    text: actionName
    icon: actionSymbol
    Accessible.description: shortcutText

    KeycapRow {
        id: keys
        visible: text !== ""
        text: summary.shortcutText
        Accessible.ignored: true
    }
}
