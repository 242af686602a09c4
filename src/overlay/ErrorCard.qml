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

        x: 44
        y: Math.max(8, Math.round((room - height) / 2))
        width: card.width - x - 40
        spacing: 2

        Text {
            id: title
            width: parent.width
            text: card.overlay.title
            textFormat: Text.PlainText
            font: card.surroundings.font(12.5, Font.DemiBold)
            color: OverlayPalette.ink
            elide: Text.ElideRight
            maximumLineCount: 1
            Accessible.role: Accessible.StaticText
            Accessible.name: card.overlay.title
        }

        Text {
            width: parent.width
            visible: text.length > 0
            text: card.overlay.detail
            textFormat: Text.PlainText
            font: card.surroundings.font(11.5, Font.Normal)
            color: card.surroundings.increaseContrast ? OverlayPalette.ink : OverlayPalette.secondary
            wrapMode: Text.Wrap
            elide: Text.ElideRight
            maximumLineCount: card.overlay.hasActionTitle ? 2 : 3
            Accessible.role: Accessible.AlertMessage
            Accessible.name: card.overlay.detail
        }
    }

    OverlayControlStyle {
        x: parent.width - width - 8
        y: 8
        width: 24
        height: 24
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
        x: 44
        y: parent.height - height - 12
        width: Math.min(actionLabel.implicitWidth + 24, parent.width - x - 14)
        height: 24
        visible: card.overlay.hasActionTitle
        label: card.overlay.actionTitle
        highlight: OverlayPalette.accent
        highlightOpacity: 0.1
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

        Text {
            id: actionLabel
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width - 16)
            text: card.overlay.actionTitle
            textFormat: Text.PlainText
            font: card.surroundings.font(11.5, Font.Medium)
            color: OverlayPalette.accent
            elide: Text.ElideRight
            maximumLineCount: 1
        }
    }
}
