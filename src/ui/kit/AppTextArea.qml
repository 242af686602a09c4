import QtQuick
import Quillmarsh.Kit 1.0

// Several lines of text. Tab leaves it.
FocusScope {
    id: area

    property alias text: edit.text
    property string title
    property string placeholder
    property string hint
    property string errorText
    property real minimumHeight: 88
    property alias readOnly: edit.readOnly

    signal edited()

    implicitWidth: 280
    implicitHeight: below.visible ? below.y + Math.ceil(below.height) : frame.y + frame.height
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    AppText {
        id: caption
        text: area.title
        visible: text !== ""
        size: 12
        weight: Font.Medium
        Accessible.ignored: true
    }
    RoundedBox {
        id: frame
        y: caption.visible ? Math.ceil(caption.height) + 6 : 0
        width: parent.width
        height: area.minimumHeight
        radius: 10
        color: AppDesign.surface
        lineWidth: edit.activeFocus ? 1.5 : 1
        lineColor: edit.activeFocus ? AppDesign.accent : hover.hovered ? AppDesign.tint(AppDesign.secondary, 0.6) : AppDesign.outline

        HoverHandler { id: hover; cursorShape: Qt.IBeamCursor }

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
                onTextChanged: if (activeFocus) area.edited()

                KeyNavigation.priority: KeyNavigation.BeforeItem
                Keys.priority: Keys.BeforeItem
                Keys.onTabPressed: nextItemInFocusChain(true).forceActiveFocus(Qt.TabFocusReason)
                Keys.onBacktabPressed: nextItemInFocusChain(false).forceActiveFocus(Qt.BacktabFocusReason)

                Accessible.role: Accessible.EditableText
                Accessible.multiLine: true
                Accessible.name: area.title !== "" ? area.title : area.placeholder
                Accessible.description: area.errorText !== "" ? area.errorText : area.hint
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
    AppText {
        id: below
        y: frame.y + frame.height + 5
        width: parent.width
        text: area.errorText !== "" ? area.errorText : area.hint
        visible: text !== ""
        size: 11
        color: area.errorText !== "" ? AppDesign.ink : AppDesign.secondary
        Accessible.ignored: true
    }
}
