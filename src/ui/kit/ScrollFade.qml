import QtQuick

// Over a view that scrolls: where its content goes on, it fades into the ground instead of being cut off.
Item {
    id: fade

    property Flickable view
    property color ground: AppDesign.page

    readonly property real depth: 20
    readonly property real end: Math.max(view.originY,
                                         view.originY + view.contentHeight + view.bottomMargin - view.height)

    // Scrolls until this part of the content lies clear of the fading edges.
    function reveal(top, height) {
        const margin = depth + 4
        if (top - margin < view.contentY)
            view.contentY = Math.max(view.originY, top - margin)
        else if (top + height + margin > view.contentY + view.height)
            view.contentY = Math.min(end, top + height + margin - view.height)
    }

    component Edge: Rectangle {
        property real hidden: 0 // how much content is beyond

        anchors { left: parent.left; right: parent.right }
        height: fade.depth
        opacity: Math.min(1, Math.max(0, hidden / fade.depth))
        visible: opacity > 0
    }

    Edge {
        anchors.top: parent.top
        hidden: fade.view.contentY - fade.view.originY
        gradient: Gradient {
            GradientStop { position: 0; color: fade.ground }
            GradientStop { position: 1; color: AppDesign.tint(fade.ground, 0) }
        }
    }
    Edge {
        anchors.bottom: parent.bottom
        hidden: fade.end - fade.view.contentY
        gradient: Gradient {
            GradientStop { position: 0; color: AppDesign.tint(fade.ground, 0) }
            GradientStop { position: 1; color: fade.ground }
        }
    }
}
