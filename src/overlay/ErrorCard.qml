import QtQuick
import Quillmarsh.Overlay

// What went wrong, what to do about it, and a way to put it aside.
Item {
    id: card

    required property RewriteOverlayState overlay
    required property OverlaySurroundings surroundings

    Rectangle {
        x: 14
        y: texts.y - 1
        width: 20
        height: 20
        radius: 10
        color: OverlayPalette.alertSoft

        OverlayGlyph {
            anchors.fill: parent
            sign: OverlayGlyph.Exclamation
            color: OverlayPalette.alert
            strokeWidth: 1.7
        }
    }

    Column {
        id: texts

        readonly property real room: card.height - (card.overlay.hasActionTitle ? 36 : 0)
        readonly property int lines: card.overlay.hasActionTitle ? 2 : 3

        x: 42
        y: Math.max(8, Math.round((room - height) / 2))
        width: card.width - x - 20
        spacing: 2

        OverlayText {
            width: parent.width - 16
            surroundings: card.surroundings
            text: card.overlay.title
            size: 12.5
            weight: Font.DemiBold
        }

        // Shortened at rest; under the pointer the whole text is there to be scrolled through.
        Flickable {
            id: reading
            width: parent.width
            height: detail.lineHeight * Math.min(detail.lineCount, texts.lines)
            visible: detail.text.length > 0
            contentHeight: detail.implicitHeight
            boundsBehavior: Flickable.StopAtBounds
            clip: true

            OverlayText {
                id: detail
                width: reading.width
                surroundings: card.surroundings
                text: card.overlay.detail
                color: card.surroundings.increaseContrast ? OverlayPalette.ink : OverlayPalette.secondary
                wrapMode: Text.Wrap
                maximumLineCount: card.surroundings.isHovering ? 1000 : texts.lines
                onMaximumLineCountChanged: reading.contentY = 0
                Accessible.role: Accessible.AlertMessage
            }
        }
    }

    Rectangle {
        x: texts.x + texts.width + 5
        y: texts.y + reading.y + reading.visibleArea.yPosition * reading.height
        width: 2
        height: reading.visibleArea.heightRatio * reading.height
        radius: 1
        color: OverlayPalette.border
        visible: reading.visible && reading.contentHeight > reading.height + 1
    }

    OverlayControlStyle {
        x: parent.width - width - 8
        y: 8
        width: 22
        height: 22
        label: "Dismiss"
        reduceMotion: card.surroundings.reduceMotion
        onClicked: card.overlay.dismiss()

        OverlayGlyph {
            anchors.centerIn: parent
            width: 20
            height: 20
            sign: OverlayGlyph.Cross
            color: OverlayPalette.secondary
        }
    }

    OverlayControlStyle {
        id: action
        x: 42
        y: parent.height - height - 12
        width: Math.min(actionLabel.implicitWidth + 24, parent.width - x - 14)
        height: 24
        visible: card.overlay.hasActionTitle
        label: card.overlay.actionTitle
        highlight: OverlayPalette.accent
        highlightOpacity: 0.06
        reduceMotion: card.surroundings.reduceMotion
        onClicked: card.overlay.action()

        Rectangle {
            anchors.fill: parent
            z: -1
            radius: action.radius
            color: OverlayPalette.accentSoft
            border.width: card.surroundings.increaseContrast ? 1 : 0
            border.color: OverlayPalette.accent
        }

        OverlayText {
            id: actionLabel
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width - 16)
            surroundings: card.surroundings
            text: card.overlay.actionTitle
            weight: Font.Medium
            color: OverlayPalette.accent
            Accessible.ignored: true
        }
    }
}
