import QtQuick
import Quillmarsh.Kit 1.0
import QtQuick.Window

// A column that scrolls when it is too long for its place, and follows the keyboard focus.
Flickable {
    id: view

    default property alias content: column.data
    property alias spacing: column.spacing
    property real padding: 0
    // Room beside the content for the bar, where the content has none of its own.
    property real gutter: 0
    property alias ground: fade.ground

    function reveal(item) {
        fade.reveal(item.mapToItem(column, 0, 0).y + padding, item.height)
    }

    function isInside(item) {
        for (let ancestor = item; ancestor; ancestor = ancestor.parent) {
            if (ancestor === column)
                return true
        }
        return false
    }

    contentWidth: width
    contentHeight: column.implicitHeight + 2 * padding
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height

    Connections {
        target: view.Window.window
        function onActiveFocusItemChanged() {
            const item = view.Window.window ? view.Window.window.activeFocusItem : null
            if (item && view.interactive && view.isInside(item))
                view.reveal(item)
        }
    }

    Column {
        id: column
        x: view.padding
        y: view.padding
        width: view.width - 2 * view.padding - view.gutter
        spacing: 12
    }

    ScrollFade {
        id: fade
        parent: view
        view: view
        // Not over the round corners of a sheet.
        anchors { fill: parent; leftMargin: view.padding / 2; rightMargin: view.padding / 2 + view.gutter }
    }
    RoundedBox {
        parent: view
        anchors { right: parent.right; rightMargin: 2 }
        visible: view.interactive
        width: 5
        radius: 2.5
        color: AppDesign.tint(AppDesign.secondary, 0.35)
        height: Math.max(28, view.height * view.visibleArea.heightRatio)
        y: view.visibleArea.heightRatio < 1
           ? (view.height - height) * view.visibleArea.yPosition / (1 - view.visibleArea.heightRatio) : 0
    }
}
