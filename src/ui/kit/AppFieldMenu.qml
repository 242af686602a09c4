import QtQuick
import Quillmarsh.Kit 1.0

// A field that shows the chosen one of its `options` and opens the list of all. `activated` tells the user's choice;
// the owner sets `currentIndex`.
Pressable {
    id: field

    property string title
    property var options: []
    property int currentIndex: -1
    property string placeholder
    readonly property bool opened: list.opened
    readonly property string currentText: currentIndex >= 0 && currentIndex < options.length
                                          ? list.titleOf(options[currentIndex]) : ""

    signal activated(int index)

    function open() { list.open(frame) }
    function close() { list.close() }

    implicitWidth: 260
    implicitHeight: frame.y + frame.height
    opacity: enabled ? 1 : AppDesign.disabledOpacity
    onClicked: open()

    Keys.onPressed: (event) => {
        if (event.key === Qt.Key_Down || event.key === Qt.Key_Up) {
            open()
            event.accepted = true
        }
    }

    Accessible.role: Accessible.ComboBox
    Accessible.name: title
    Accessible.description: currentText
    Accessible.focusable: true
    Accessible.onPressAction: click()

    AppText {
        id: caption
        text: field.title
        visible: text !== ""
        size: 11
        weight: Font.Medium
        color: AppDesign.secondary
        Accessible.ignored: true
    }
    RoundedBox {
        id: frame
        y: caption.visible ? Math.ceil(caption.height) + 5 : 0
        width: parent.width
        height: Math.ceil(value.implicitHeight) + 20
        radius: 10
        color: field.pressed || field.opened || field.hovered ? AppDesign.page : AppDesign.surface
        lineWidth: 1
        lineColor: field.opened ? AppDesign.accent : AppDesign.outline

        AppTextLine {
            id: value
            text: field.currentText !== "" ? field.currentText : field.placeholder
            color: field.currentText !== "" ? AppDesign.ink : AppDesign.secondary
            anchors {
                left: parent.left
                leftMargin: 12
                right: arrows.left
                rightMargin: 8
                verticalCenter: parent.verticalCenter
            }
        }
        AppIcon {
            id: arrows
            name: "chevron.up.chevron.down"
            size: 14
            color: AppDesign.secondary
            anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
        }
        FocusRing { shown: field.visualFocus }
    }
    AppPopupList {
        id: list
        title: field.title
        options: field.options
        selectedIndex: field.currentIndex
        onChosen: (index) => field.activated(index)
    }
}
