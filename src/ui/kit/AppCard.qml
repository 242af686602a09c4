import QtQuick
import Quillmarsh.Kit 1.0

// A white card. What is put into it stands in a column as wide as the card's inside.
RoundedBox {
    id: card

    property real padding: 18
    property alias spacing: column.spacing
    default property alias content: column.data

    implicitWidth: 320
    implicitHeight: column.implicitHeight + 2 * padding
    radius: 16
    continuous: true
    color: AppDesign.surface
    lineWidth: 1
    lineColor: AppDesign.increaseContrast ? AppDesign.secondary : AppDesign.tint(AppDesign.border, 0.7)

    Column {
        id: column
        x: card.padding
        y: card.padding
        width: card.width - 2 * card.padding
        spacing: 12
    }
}
