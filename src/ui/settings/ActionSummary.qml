import QtQuick
import "qrc:/quillmarsh/kit"

// A writing action as one line: what it is called and how it is called up.
QuietRowButton {
    property string actionName
    property string actionSymbol
    property string shortcutText

    text: actionName
    icon: actionSymbol
    Accessible.description: shortcutText

    KeycapRow {
        visible: text !== ""
        text: parent.parent.shortcutText
        Accessible.ignored: true
    }
}
