import QtQuick
import "qrc:/quillmarsh/kit"

// A quiet remark with a symbol.
Item {
    id: note

    property string symbol
    property string text
    property color tone: AppDesign.secondary
    property real size: 12

    implicitWidth: 240
    implicitHeight: label.implicitHeight
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    AppIcon {
        name: note.symbol
        size: 14
        color: note.tone
        y: AppDesign.besideLine(note.size, size)
    }
    AppText {
        id: label
        x: 23
        width: parent.width - 23
        text: note.text
        size: note.size
        color: note.tone
        Accessible.ignored: true
    }
}
