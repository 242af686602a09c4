import QtQuick
import "qrc:/quillmarsh/kit"

// A section's title and, where it has one, the line about it.
Column {
    id: header

    property string title
    property string subtitle

    spacing: 3

    AppText {
        width: parent.width
        text: header.title
        size: 22
        weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    AppText {
        width: parent.width
        text: header.subtitle
        visible: text !== ""
        color: AppDesign.secondary
    }
}
