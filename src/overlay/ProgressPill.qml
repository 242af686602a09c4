import QtQuick
import Quillmarsh.Overlay

// The compact surface while a rewrite runs: the orb, and all of it the cancel control.
OverlayControlStyle {
    id: pill

    required property RewriteOverlayState overlay
    required property OverlaySurroundings surroundings
    property bool isCurrent: true

    label: "Cancel rewrite · press your shortcut again"
    help: overlay.title + " · Click to cancel, or press your shortcut again"
    highlightOpacity: 0.035
    reduceMotion: surroundings.reduceMotion
    onClicked: overlay.dismiss()

    ThinkingOrb {
        anchors.centerIn: parent
        width: 30
        height: 30
        reduceMotion: pill.surroundings.reduceMotion
        isVisible: pill.isCurrent && pill.overlay.isVisible && pill.surroundings.isOnScreen
        opacity: pill.isHovered ? 0.22 : 1

        Behavior on opacity {
            enabled: !pill.reduceMotion
            NumberAnimation { duration: 120 }
        }
    }

    OverlayGlyph {
        anchors.centerIn: parent
        width: 22
        height: 22
        sign: OverlayGlyph.Cross
        color: OverlayPalette.ink
        strokeWidth: 1.6
        visible: pill.isHovered
    }
}
