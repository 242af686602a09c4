import QtQuick

// A plain control of the panel: its content, with a quiet highlight under the pointer. It never takes the focus.
Item {
    id: control

    default property alias content: holder.data
    property string label
    property string help
    property real radius: 7
    property color highlight: OverlayPalette.ink
    property real highlightOpacity: 0.06
    property bool reduceMotion: false
    readonly property bool isHovered: pointer.containsMouse
    readonly property bool isPressed: pointer.pressed && pointer.containsMouse
    signal clicked

    Accessible.role: Accessible.Button
    Accessible.name: control.label
    Accessible.description: control.help
    Accessible.onPressAction: control.clicked()

    Rectangle {
        anchors.fill: parent
        radius: control.radius
        color: control.highlight
        opacity: control.isPressed ? 2 * control.highlightOpacity : control.isHovered ? control.highlightOpacity : 0

        Behavior on opacity {
            enabled: !control.reduceMotion
            NumberAnimation { duration: 90 }
        }
    }

    Item {
        id: holder
        anchors.fill: parent
    }

    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: control.clicked()
    }
}
