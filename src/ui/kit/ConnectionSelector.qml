import QtQuick

// A choice of one among a few, each as a card. The arrows walk through it; Space, Return or a click chooses.
// `options` holds objects {title, subtitle, symbol}; the owner sets `currentIndex` after `activated`.
FocusScope {
    id: selector

    property string title
    property var options: []
    property int currentIndex: -1
    // How many cards stand side by side.
    property int columns: 1
    property alias spacing: column.spacing

    signal activated(int index)

    function walk(from, step) {
        const next = cards.itemAt((from + step + cards.count) % cards.count)
        if (next)
            next.forceActiveFocus(Qt.TabFocusReason)
    }

    implicitWidth: 300
    implicitHeight: column.implicitHeight

    Accessible.role: Accessible.Grouping
    Accessible.name: title

    Column {
        id: column
        width: parent.width
        spacing: 8

        AppText {
            text: selector.title
            visible: text !== ""
            size: 11
            weight: Font.Medium
            color: AppDesign.secondary
        }
        Grid {
            id: grid

            // Cards that stand side by side are equally high.
            property real rowHeight: 0

            function measure() {
                let highest = 0
                for (let index = 0; index < cards.count; ++index)
                    highest = Math.max(highest, cards.itemAt(index) ? cards.itemAt(index).implicitHeight : 0)
                rowHeight = highest
            }

            width: parent.width
            columns: selector.columns
            spacing: column.spacing

            Repeater {
                id: cards
                model: selector.options
                onItemAdded: grid.measure()

                AppSelectOption {
                    required property var modelData
                    required property int index

                    height: grid.rowHeight
                    onImplicitHeightChanged: grid.measure()
                    width: Math.floor((grid.width - (selector.columns - 1) * grid.spacing) / selector.columns)
                    title: modelData.title
                    subtitle: modelData.subtitle || ""
                    symbol: modelData.symbol || ""
                    selected: index === selector.currentIndex
                    // One stop for Tab: the chosen one, or the first where none is.
                    tabStop: selected || (index === 0 && selector.currentIndex < 0)
                    onClicked: selector.activated(index)
                    Keys.onUpPressed: selector.walk(index, -selector.columns)
                    Keys.onDownPressed: selector.walk(index, selector.columns)
                    Keys.onLeftPressed: selector.walk(index, -1)
                    Keys.onRightPressed: selector.walk(index, 1)
                }
            }
        }
    }
}
