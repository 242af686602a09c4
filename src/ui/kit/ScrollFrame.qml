import QtQuick
import Quillmarsh.Kit 1.0

// Over a view that scrolls: where its content goes on, it fades into the ground instead of being cut off, and a bar
// tells how much there is.
Item {
    id: frame

    property Flickable view
    property color ground: AppDesign.page
    // How far from the sides the content begins to fade.
    property real leftInset: 0
    property real rightInset: 0

    readonly property real depth: 20
    readonly property real start: view.originY - view.topMargin
    readonly property real end: Math.max(start, view.originY + view.contentHeight + view.bottomMargin - view.height)

    // Scrolls until this part of the content lies clear of the fading edges.
    function reveal(top, height) {
        const margin = depth + 4
        if (top - margin < view.contentY)
            view.contentY = Math.max(start, top - margin)
        else if (top + height + margin > view.contentY + view.height)
            view.contentY = Math.min(end, top + height + margin - view.height)
    }

    component Edge: Rectangle {
        property real hidden: 0 // how much content lies beyond

        anchors { left: parent.left; leftMargin: frame.leftInset; right: parent.right; rightMargin: frame.rightInset }
        height: frame.depth
        opacity: Math.min(1, Math.max(0, hidden / frame.depth))
        visible: opacity > 0
    }

    Edge {
        anchors.top: parent.top
        hidden: frame.view.contentY - frame.start
        gradient: Gradient {
            GradientStop { position: 0; color: frame.ground }
            GradientStop { position: 1; color: AppDesign.tint(frame.ground, 0) }
        }
    }
    Edge {
        anchors.bottom: parent.bottom
        hidden: frame.end - frame.view.contentY
        gradient: Gradient {
            GradientStop { position: 0; color: AppDesign.tint(frame.ground, 0) }
            GradientStop { position: 1; color: frame.ground }
        }
    }
    RoundedBox {
        readonly property real way: frame.end - frame.start

        anchors { right: parent.right; rightMargin: 2 }
        visible: way > 0
        width: 5
        radius: 2.5
        color: AppDesign.tint(AppDesign.secondary, 0.35)
        height: Math.max(28, frame.height * frame.height / (frame.height + way))
        y: way > 0 ? (frame.height - height) * (frame.view.contentY - frame.start) / way : 0
    }
}
