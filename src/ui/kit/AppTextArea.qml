import QtQuick

// Several lines of text. Tab leaves it.
AppInputFrame {
    id: area

    property alias text: edit.text
    property string placeholder

    frameHeight: 88
    active: edit.activeFocus

    Flickable {
        id: flick
        anchors { fill: parent; leftMargin: 12; rightMargin: 8; topMargin: 10; bottomMargin: 10 }
        contentWidth: width
        contentHeight: edit.height
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        interactive: contentHeight > height

        function follow(cursor) {
            if (cursor.y < contentY)
                contentY = cursor.y
            else if (cursor.y + cursor.height > contentY + height)
                contentY = cursor.y + cursor.height - height
        }

        TextEdit {
            id: edit
            width: flick.width - 4
            height: Math.max(implicitHeight, flick.height)
            focus: true
            activeFocusOnTab: true
            font: AppDesign.font(13)
            color: AppDesign.ink
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.Wrap
            selectByMouse: true
            selectionColor: AppDesign.accent
            selectedTextColor: "white"
            renderType: Text.NativeRendering
            onCursorRectangleChanged: flick.follow(cursorRectangle)

            KeyNavigation.priority: KeyNavigation.BeforeItem
            Keys.priority: Keys.BeforeItem
            Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
            Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)

            Accessible.role: Accessible.EditableText
            Accessible.multiLine: true
            Accessible.name: area.title !== "" ? area.title : area.placeholder
            Accessible.description: area.hint
        }
        AppText {
            width: edit.width
            text: area.placeholder
            visible: edit.text === "" && edit.preeditText === ""
            color: AppDesign.secondary
            Accessible.ignored: true
        }
    }
}
