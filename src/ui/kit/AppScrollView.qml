import QtQuick
import QtQuick.Window

// A column that scrolls when it is too long for its place, and follows the keyboard focus.
Flickable {
    id: view

    default property alias content: column.data
    property alias spacing: column.spacing
    property real padding: 0
    property real topPadding: padding
    // Room beside the content for the bar, where the content has none of its own.
    property real gutter: 0
    property alias ground: frame.ground

    function reveal(item) {
        frame.reveal(item.mapToItem(column, 0, 0).y + topPadding, item.height)
    }

    function isInside(item) {
        for (let ancestor = item; ancestor; ancestor = ancestor.parent) {
            if (ancestor === column)
                return true
        }
        return false
    }

    function revealFocus() {
        const item = view.Window.window ? view.Window.window.activeFocusItem : null
        if (item && isInside(item))
            reveal(item)
    }

    onHeightChanged: Qt.callLater(revealFocus) // once the content has its new height too
    contentWidth: width
    contentHeight: topPadding + column.implicitHeight + padding
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height

    Connections {
        target: view.Window.window
        function onActiveFocusItemChanged() { view.revealFocus() }
    }

    Column {
        id: column
        x: view.padding
        y: view.topPadding
        width: view.width - 2 * view.padding - view.gutter
        spacing: 12
    }

    ScrollFrame {
        id: frame
        parent: view
        view: view
        anchors.fill: parent
        // Not over the round corners of a sheet.
        leftInset: view.padding / 2
        rightInset: view.padding / 2 + view.gutter
    }
}
