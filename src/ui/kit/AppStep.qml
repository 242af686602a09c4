import QtQuick
import Quillmarsh.Kit 1.0

// One of several numbered steps.
Item {
    id: step

    property int number: 1
    property string text

    implicitWidth: 300
    implicitHeight: Math.max(24, Math.ceil(label.implicitHeight))

    Accessible.role: Accessible.ListItem
    Accessible.name: number + ". " + text

    RoundedBox {
        id: plate
        width: 24
        height: 24
        radius: 12
        color: AppDesign.accentSoft

        AppText {
            anchors.centerIn: parent
            text: step.number
            font: AppDesign.monospaced(11)
            color: AppDesign.accent
            Accessible.ignored: true
        }
    }
    AppText {
        id: label
        anchors { left: plate.right; leftMargin: 12; right: parent.right }
        y: lineCount > 1 ? 3 : Math.round((24 - implicitHeight) / 2)
        text: step.text
        Accessible.ignored: true
    }
}
