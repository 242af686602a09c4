import QtQuick
import "qrc:/quillmarsh/kit"

// One step of a short list of instructions.
Item {
    id: step

    property int number
    property string text

    implicitHeight: Math.max(circle.height, label.implicitHeight)
    Accessible.role: Accessible.ListItem
    Accessible.name: number + ". " + text

    Rectangle {
        id: circle
        width: 24
        height: 24
        radius: 12
        color: AppDesign.accentSoft

        Text {
            anchors.centerIn: parent
            text: step.number
            font: AppDesign.monospaced(11)
            color: AppDesign.accent
            renderType: Text.NativeRendering
            Accessible.ignored: true
        }
    }
    AppText {
        id: label
        x: 36
        y: Math.max(0, (circle.height - implicitHeight) / 2)
        width: parent.width - 36
        text: step.text
        Accessible.ignored: true
    }
}
