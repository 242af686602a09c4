import QtQuick
import Quillmarsh.Overlay

// The compact surface while a rewrite runs: the orb over the title, and all of it the cancel control.
OverlayControlStyle {
    id: pill

    required property RewriteOverlayState overlay
    required property OverlaySurroundings surroundings
    property bool isCurrent: true

    label: "Cancel rewrite · press your shortcut again"
    help: overlay.title + " · Click to cancel, or press your shortcut again"
    highlightOpacity: 0.025
    reduceMotion: surroundings.reduceMotion
    onClicked: overlay.dismiss()

    ThinkingOrb {
        id: orb
        anchors.horizontalCenter: parent.horizontalCenter
        y: 1
        width: 22
        height: 22
        reduceMotion: pill.surroundings.reduceMotion
        isVisible: pill.isCurrent && pill.overlay.isVisible && pill.surroundings.isOnScreen
        opacity: pill.isHovered ? 0.22 : 1

        Behavior on opacity {
            enabled: !pill.reduceMotion
            NumberAnimation { duration: 120 }
        }
    }

    OverlayGlyph {
        anchors.centerIn: orb
        width: 18
        height: 18
        sign: OverlayGlyph.Cross
        color: OverlayPalette.ink
        strokeWidth: 1.6
        visible: pill.isHovered
    }

    // Small, smaller for a long word, and shortened where even that is too wide; the whole title is in the control's
    // description.
    OverlayText {
        id: title
        anchors.horizontalCenter: parent.horizontalCenter
        y: parent.height - height - 4
        width: Math.min(implicitWidth, parent.width - 11)
        surroundings: pill.surroundings
        text: ""
        size: 8
        minimumSize: 6.5
        horizontalAlignment: Text.AlignHCenter
        weight: Font.Medium
        color: pill.surroundings.increaseContrast ? OverlayPalette.ink : OverlayPalette.secondary
        Accessible.ignored: true
    }

    // The outcome's title belongs to its own layout; this one keeps its word while it fades.
    Binding {
        target: title
        property: "text"
        value: pill.overlay.title
        when: pill.isCurrent
        restoreMode: Binding.RestoreNone
    }
}
