import QtQuick
import "qrc:/quillmarsh/kit"

// What a connection's panel is about.
Item {
    id: heading

    property string symbol
    property string title
    property string subtitle

    width: parent.width
    height: Math.max(plate.height, lines.implicitHeight)

    Rectangle {
        id: plate
        width: 36
        height: 36
        radius: 10
        color: AppDesign.accentSoft
        anchors.verticalCenter: parent.verticalCenter

        AppIcon {
            anchors.centerIn: parent
            name: heading.symbol
            size: 18
            color: AppDesign.accent
        }
    }
    Column {
        id: lines
        anchors { left: plate.right; leftMargin: 12; right: parent.right; verticalCenter: parent.verticalCenter }
        spacing: 1

        AppText {
            width: parent.width
            text: heading.title
            size: 14
            weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        AppText {
            width: parent.width
            text: heading.subtitle
            visible: text !== ""
            size: 12
            color: AppDesign.secondary
        }
    }
}
