import QtQuick
import "qrc:/quillmarsh/kit"

// One figure, what it counts, and what that means.
AppCard {
    id: card

    property string symbol
    property string title
    property var value: 0
    property string help

    spacing: 10
    Accessible.role: Accessible.StaticText
    Accessible.name: title + ": " + figure.text
    Accessible.description: help

    Item {
        width: parent.width
        height: caption.implicitHeight

        AppIcon {
            id: sign
            name: card.symbol
            color: AppDesign.accent
            anchors.verticalCenter: parent.verticalCenter
        }
        AppText {
            id: caption
            anchors { left: sign.right; leftMargin: 9; right: parent.right }
            text: card.title
            weight: Font.Medium
            color: AppDesign.secondary
            Accessible.ignored: true
        }
    }
    AppText {
        id: figure
        text: Number(card.value).toLocaleString(Qt.locale(), "f", 0)
        size: 32
        weight: Font.DemiBold
        Accessible.ignored: true
    }
    AppText {
        width: parent.width
        text: card.help
        size: 11
        color: AppDesign.secondary
        Accessible.ignored: true
    }
}
