import QtQuick
import Quillmarsh.Kit 1.0

// The application's mark.
RoundedBox {
    id: mark

    property real size: 32

    implicitWidth: size
    implicitHeight: size
    radius: size * 0.25
    continuous: true
    color: AppDesign.accent

    Accessible.ignored: true

    AppIcon {
        anchors.centerIn: parent
        name: "textformat.abc"
        size: Math.round(mark.size * 0.62)
        color: "white"
    }
}
