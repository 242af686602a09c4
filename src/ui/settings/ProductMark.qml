import QtQuick
import "qrc:/quillmarsh/kit"

// The application's mark.
Rectangle {
    property real size: 28

    width: size
    height: size
    radius: size * 0.29
    color: AppDesign.accent

    AppIcon {
        anchors.centerIn: parent
        name: "textformat.abc"
        size: Math.round(parent.size * 0.64)
        color: "white"
    }
}
