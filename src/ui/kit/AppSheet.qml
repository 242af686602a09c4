import QtQuick
import Quillmarsh.Kit 1.0

// A sheet over the window. While it is open, keyboard and pointer stay in it. Put it last into the window's root; its
// content stands in a column. Escape asks the owner with `dismissed` to close it.
FocusTrap {
    id: sheet

    property bool open: false
    property string title
    property real sheetWidth: 440
    property real padding: 24
    property bool dismissible: true
    property Item initialFocus
    property int role: Accessible.Dialog
    property alias spacing: column.spacing
    default property alias content: column.data

    signal dismissed()
    signal opened()

    anchors.fill: parent
    visible: open || card.opacity > 0
    active: open
    z: 500

    onActiveChanged: {
        if (!active)
            return
        if (initialFocus)
            initialFocus.forceActiveFocus(Qt.TabFocusReason)
        else
            moveFocus(true)
        opened()
    }

    Keys.onEscapePressed: (event) => {
        event.accepted = true
        if (dismissible)
            dismissed()
    }

    Accessible.role: role
    Accessible.name: title

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: (wheel) => wheel.accepted = true
    }
    Rectangle {
        anchors.fill: parent
        color: AppDesign.ink
        opacity: card.opacity * 0.28
    }
    RoundedBox {
        id: card
        anchors.centerIn: parent
        width: Math.round(Math.min(sheet.sheetWidth * AppDesign.textScale, sheet.width - 32))
        height: Math.min(scroll.contentHeight + 2 * lineWidth, sheet.height - 32)
        radius: 16
        continuous: true
        color: AppDesign.page
        lineWidth: 1
        lineColor: AppDesign.outline
        opacity: sheet.open ? 1 : 0
        scale: sheet.open || AppDesign.reduceMotion ? 1 : 0.98

        Behavior on opacity { AppearAnimation {} }
        Behavior on scale { AppearAnimation {} }

        AppScrollView {
            id: scroll
            anchors { fill: parent; margins: card.lineWidth }
            padding: sheet.padding - card.lineWidth
            spacing: 0

            Column {
                id: column
                width: parent.width
                spacing: 16

                AppText {
                    width: parent.width
                    text: sheet.title
                    visible: text !== ""
                    size: 17
                    weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                }
            }
        }
    }
}
