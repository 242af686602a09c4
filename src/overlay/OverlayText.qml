import QtQuick
import Quillmarsh.Overlay

// A text of the panel. It is laid out at twice its size and drawn at half the scale, since fonts have whole pixels
// only; every length told from outside is that of the text as it is seen.
Item {
    id: item

    required property OverlaySurroundings surroundings
    required property string text
    property real size: 11.5
    property real minimumSize: size // smaller: a line too long shrinks to this before it is shortened
    property int weight: Font.Normal
    property alias color: label.color
    property alias wrapMode: label.wrapMode
    property alias horizontalAlignment: label.horizontalAlignment
    property alias maximumLineCount: label.maximumLineCount
    readonly property bool truncated: label.truncated
    readonly property int lineCount: label.lineCount
    readonly property real lineHeight: label.lineCount > 0 ? label.contentHeight / label.lineCount / 2 : 0

    implicitWidth: Math.ceil(label.implicitWidth / 2)
    implicitHeight: Math.ceil(label.height / 2)

    Accessible.role: Accessible.StaticText
    Accessible.name: item.text

    Text {
        id: label
        width: 2 * item.width
        scale: 0.5
        transformOrigin: Item.TopLeft
        text: maximumLineCount === 1 ? item.text.replace(/\s+/g, " ") : item.text
        textFormat: Text.PlainText
        font: item.surroundings.font(item.size, item.weight)
        color: OverlayPalette.ink
        fontSizeMode: item.minimumSize < item.size ? Text.HorizontalFit : Text.FixedSize
        minimumPixelSize: 2 * item.minimumSize
        elide: Text.ElideRight
        maximumLineCount: 1
    }
}
