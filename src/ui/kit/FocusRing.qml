import QtQuick
import Quillmarsh.Kit 1.0

// The ring around what the keyboard acts on. It lies outside its control, so that it changes no layout.
RoundedBox {
    property bool shown: false
    property real distance: 2
    property real cornerRadius: 10

    anchors.fill: parent
    anchors.margins: -distance - lineWidth
    radius: cornerRadius + distance + lineWidth
    color: "transparent"
    lineWidth: 2
    lineColor: AppDesign.accent
    visible: shown
    z: 1
}
