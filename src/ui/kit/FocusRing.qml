import QtQuick

// The ring around what the keyboard acts on. It lies outside its control, so that it changes no layout.
Rectangle {
    property bool shown: false
    property real distance: 2
    property real cornerRadius: 10

    anchors.fill: parent
    anchors.margins: -distance - border.width
    radius: cornerRadius + distance + border.width
    color: "transparent"
    border.width: 2
    border.color: AppDesign.accent
    visible: shown
    z: 1
}
