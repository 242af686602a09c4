import QtQuick

// A white card. What is put into it stands in a column as wide as the card's inside.
Rectangle {
    id: card

    property real padding: 18
    property alias spacing: column.spacing
    default property alias content: column.data

    implicitWidth: 320
    implicitHeight: column.implicitHeight + 2 * padding
    radius: 16
    color: AppDesign.surface
    border.width: 1
    border.color: AppDesign.increaseContrast ? AppDesign.secondary : AppDesign.tint(AppDesign.border, 0.7)

    Column {
        id: column
        x: card.padding
        y: card.padding
        width: card.width - 2 * card.padding
        spacing: 12
    }
}
