import QtQuick
import "qrc:/quillmarsh/kit"

// The application's name over one row per section. It is one stop for Tab; the arrows walk through the sections.
Rectangle {
    id: sidebar

    required property var sections

    color: AppDesign.surface

    Row {
        id: name
        anchors { left: parent.left; leftMargin: 22; top: parent.top; topMargin: 26 }
        spacing: 10

        AppMark {
            size: 28
            anchors.verticalCenter: parent.verticalCenter
        }
        AppText {
            text: "Quillmarsh"
            size: 16
            weight: Font.DemiBold
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    Column {
        anchors { left: parent.left; right: parent.right; top: name.bottom; margins: 12; topMargin: 24 }
        spacing: 3

        Accessible.role: Accessible.PageTabList
        Accessible.name: "Sections"

        Repeater {
            id: rows
            model: sidebar.sections.rows

            SidebarButton {
                id: row

                required property var modelData
                required property int index

                function walk(step) {
                    const next = (index + step + rows.count) % rows.count
                    rows.itemAt(next).forceActiveFocus(Qt.TabFocusReason)
                    sidebar.sections.index = next
                }

                width: parent.width
                text: modelData.label
                icon: modelData.symbol
                selected: index === sidebar.sections.index
                tabStop: selected || activeFocus
                onClicked: sidebar.sections.index = index
                Keys.onUpPressed: walk(-1)
                Keys.onDownPressed: walk(1)
            }
        }
    }
}
