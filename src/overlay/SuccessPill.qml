import QtQuick
import Quillmarsh.Overlay

// The compact confirmation; a click anywhere dismisses it.
OverlayControlStyle {
    id: pill

    required property RewriteOverlayState overlay
    required property OverlaySurroundings surroundings

    label: "Dismiss"
    help: "Dismiss confirmation"
    highlightOpacity: 0.03
    reduceMotion: surroundings.reduceMotion
    onClicked: overlay.dismiss()

    Rectangle {
        id: badge
        x: 11
        anchors.verticalCenter: parent.verticalCenter
        width: 16
        height: 16
        radius: 8
        color: OverlayPalette.success

        OverlayGlyph {
            anchors.fill: parent
            sign: OverlayGlyph.Check
            color: OverlayPalette.surface
        }
    }

    // 50 pixels surround the title: the badge with its gaps at one side, the padding at the other.
    OverlayText {
        x: 35
        width: parent.width - 49
        anchors.verticalCenter: parent.verticalCenter
        surroundings: pill.surroundings
        text: pill.overlay.title
        weight: Font.Medium
        Accessible.description: pill.overlay.detail
    }
}
