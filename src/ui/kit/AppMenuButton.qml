import QtQuick

// A symbol that opens a short list of commands: texts, or objects {title, symbol, enabled}.
AppIconButton {
    id: button

    property var items: []
    readonly property bool opened: list.opened

    signal triggered(int index)

    icon: "ellipsis"
    Accessible.role: Accessible.ButtonMenu
    onClicked: list.open(button)

    AppPopupList {
        id: list
        title: button.text
        options: button.items
        onChosen: (index) => button.triggered(index)
    }
}
