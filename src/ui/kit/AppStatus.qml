import QtQuick
import Quillmarsh.Kit 1.0

// A badge that tells a state in a word or two.
RoundedBox {
    id: badge

    property string text
    property bool positive: false
    readonly property color tone: positive ? AppDesign.success : AppDesign.secondary

    implicitWidth: Math.ceil(row.implicitWidth) + 18
    implicitHeight: Math.ceil(row.implicitHeight) + 10
    radius: 6
    continuous: true
    // On white whatever lies below, so that the text stays legible.
    color: Qt.tint(AppDesign.surface, AppDesign.tint(tone, 0.07))

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Row {
        id: row
        anchors.centerIn: parent
        spacing: 6

        RoundedBox {
            width: 5
            height: 5
            radius: 2.5
            color: badge.tone
            anchors.verticalCenter: parent.verticalCenter
        }
        AppText {
            text: badge.text
            size: 10
            weight: Font.DemiBold
            color: badge.tone
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
}
