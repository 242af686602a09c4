import QtQuick
import QtQuick.Window
import Quillmarsh.Kit 1.0

// A list that opens over the window below (or above) the control it belongs to. `options` holds texts or objects
// {title, subtitle, symbol, enabled}. Up, Down, Home, End and typing move in it, Return or Space chooses, Escape or a
// click elsewhere closes it.
FocusTrap {
    id: popup

    property string title
    property var options: []
    property int selectedIndex: -1
    property real minimumWidth: 160
    readonly property alias opened: popup.active

    signal chosen(int index)

    function open(control) {
        if (active || options.length === 0)
            return
        parent = control.Window.window.contentItem
        const place = control.mapToItem(parent, 0, 0)
        panel.controlRect = Qt.rect(place.x, place.y, control.width, control.height)
        list.currentIndex = Math.max(0, selectedIndex)
        active = true
        list.positionViewAtIndex(list.currentIndex, ListView.Contain)
        list.forceActiveFocus(Qt.TabFocusReason)
    }

    function close() {
        active = false
    }

    function choose(index) {
        if (index < 0 || index >= options.length || isDisabled(index))
            return
        close()
        chosen(index)
    }

    function titleOf(option) {
        return typeof option === "string" ? option : option.title
    }

    function isDisabled(index) {
        return options[index].enabled === false
    }

    function findStartingWith(letter) {
        for (let step = 1; step <= options.length; ++step) {
            const index = (list.currentIndex + step) % options.length
            if (titleOf(options[index]).toLowerCase().startsWith(letter.toLowerCase()))
                return index
        }
        return -1
    }

    anchors.fill: active ? parent : undefined
    visible: active
    z: 1000

    Connections {
        target: popup.active ? popup.Window.window : null
        function onActiveChanged() {
            if (popup.active && !popup.Window.window.active)
                popup.close()
        }
        function onWidthChanged() { popup.close() }
        function onHeightChanged() { popup.close() }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onPressed: popup.close()
        onWheel: (wheel) => wheel.accepted = true
    }

    RoundedBox {
        id: panel

        property rect controlRect
        readonly property real wantedHeight: list.contentHeight + 10
        readonly property real spaceBelow: popup.height - controlRect.y - controlRect.height - 14
        readonly property real spaceAbove: controlRect.y - 14
        readonly property bool above: wantedHeight > spaceBelow && spaceAbove > spaceBelow

        width: Math.min(popup.width - 16, Math.max(controlRect.width, popup.minimumWidth))
        height: Math.min(wantedHeight, 320, Math.max(60, above ? spaceAbove : spaceBelow))
        x: Math.max(8, Math.min(popup.width - width - 8,
               controlRect.width < popup.minimumWidth ? controlRect.x + controlRect.width - width : controlRect.x))
        y: above ? controlRect.y - height - 6 : controlRect.y + controlRect.height + 6
        radius: 12
        color: AppDesign.surface
        lineWidth: 1
        lineColor: AppDesign.outline

        // The cheapest shadow that still lifts the list from the page.
        RoundedBox {
            z: -1
            anchors { fill: parent; margins: -1; topMargin: 1; bottomMargin: -3 }
            radius: 13
            color: AppDesign.tint(AppDesign.ink, 0.05)
        }

        MouseArea { anchors.fill: parent }

        ListView {
            id: list
            anchors { fill: parent; margins: 5 }
            model: popup.options
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: true
            highlightMoveDuration: 0
            Accessible.role: Accessible.PopupMenu
            Accessible.name: popup.title

            Keys.onPressed: (event) => {
                event.accepted = true
                if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter || event.key === Qt.Key_Space)
                    popup.choose(currentIndex)
                else if (event.key === Qt.Key_Escape)
                    popup.close()
                else if (event.key === Qt.Key_Home)
                    currentIndex = 0
                else if (event.key === Qt.Key_End)
                    currentIndex = count - 1
                else if (event.text.length === 1 && event.text > " " && event.modifiers === Qt.NoModifier)
                    currentIndex = Math.max(currentIndex, 0), currentIndex = popup.findStartingWith(event.text) >= 0
                        ? popup.findStartingWith(event.text) : currentIndex
                else
                    event.accepted = false
            }

            delegate: Item {
                id: row

                required property var modelData
                required property int index
                readonly property string title: popup.titleOf(modelData)
                readonly property string subtitle: modelData.subtitle || ""
                readonly property string symbol: modelData.symbol || ""
                readonly property bool chosen: index === popup.selectedIndex

                width: ListView.view.width
                height: Math.ceil(texts.implicitHeight) + 14
                focus: ListView.isCurrentItem
                opacity: popup.isDisabled(index) ? AppDesign.disabledOpacity : 1

                Accessible.role: Accessible.MenuItem
                Accessible.name: title
                Accessible.description: subtitle
                Accessible.focusable: true
                Accessible.selectable: true
                Accessible.selected: chosen
                Accessible.onPressAction: popup.choose(index)

                RoundedBox {
                    anchors.fill: parent
                    radius: 8
                    color: row.ListView.isCurrentItem ? AppDesign.tint(AppDesign.accent, 0.06) : "transparent"
                }
                AppIcon {
                    id: symbolIcon
                    name: row.symbol
                    visible: row.symbol !== ""
                    color: AppDesign.secondary
                    anchors { left: parent.left; leftMargin: 9; verticalCenter: parent.verticalCenter }
                }
                Column {
                    id: texts
                    anchors {
                        left: parent.left
                        leftMargin: symbolIcon.visible ? 34 : 9
                        right: parent.right
                        rightMargin: row.chosen ? 30 : 9
                        verticalCenter: parent.verticalCenter
                    }
                    AppTextLine {
                        width: parent.width
                        text: row.title
                    }
                    AppTextLine {
                        width: parent.width
                        text: row.subtitle
                        visible: text !== ""
                        size: 11
                        color: AppDesign.secondary
                    }
                }
                AppIcon {
                    visible: row.chosen
                    name: "checkmark"
                    color: AppDesign.accent
                    anchors { right: parent.right; rightMargin: 9; verticalCenter: parent.verticalCenter }
                }
                MouseArea {
                    anchors.fill: parent
                    hoverEnabled: true
                    onPositionChanged: row.ListView.view.currentIndex = row.index
                    onClicked: popup.choose(row.index)
                }
            }
        }
    }
}
