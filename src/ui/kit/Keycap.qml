import QtQuick

// One key of a shortcut.
Rectangle {
    property string text

    implicitWidth: Math.max(Math.ceil(label.implicitWidth) + 18, implicitHeight)
    implicitHeight: Math.ceil(label.implicitHeight) + 12
    radius: 6
    color: AppDesign.surface

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Rectangle {
        anchors.fill: parent
        anchors.margins: 0.5
        radius: 6
        color: "transparent"
        border.width: 0.6
        border.color: AppDesign.tint(AppDesign.secondary, 0.55)
    }
    AppText {
        id: label
        anchors.centerIn: parent
        text: parent.text
        size: 11
        weight: Font.Medium
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }
}
