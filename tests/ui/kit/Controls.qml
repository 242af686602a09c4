import QtQuick
import "qrc:/quillmarsh/kit"

// One of each, for a test to drive.
Rectangle {
    id: root
    width: 500
    height: 700
    property int clicks: 0
    property int lastMenu: -1
    property int lastAnswer: -1
    property int undone: 0
    property int closedToasts: 0

    Column {
        width: parent.width
        spacing: 10

        AppButton { objectName: "button"; text: "Save"; kind: "primary"; onClicked: root.clicks++ }
        AppButton { objectName: "disabled"; text: "Never"; enabled: false; onClicked: root.clicks += 100 }
        AppLink { objectName: "link"; text: "Manage usage ↗"; onClicked: root.clicks++ }
        AppFieldMenu {
            objectName: "menu"
            title: "Model"
            width: 200
            currentIndex: 0
            options: ["Alpha", { title: "Beta", enabled: false }, "Gamma", "Delta"]
            onActivated: (index) => currentIndex = index
        }
        ConnectionSelector {
            objectName: "selector"
            width: 300
            currentIndex: 1
            options: [{ title: "One" }, { title: "Two" }, { title: "Three" }]
            onActivated: (index) => currentIndex = index
        }
        AppMenuButton { objectName: "commands"; text: "Actions"; items: ["Edit", "Delete"]; onTriggered: (index) => root.lastMenu = index }
        AppTextField { objectName: "secret"; width: 300; title: "API key"; secret: true }
        AppTextArea { objectName: "area"; width: 300; title: "Instruction" }
        KeycapRow { objectName: "keys"; text: "⌃⌥⇧⌘F5" }
        KeycapRow { objectName: "bare"; text: "⌘" }
        AppButton { objectName: "after"; text: "After" }
    }
    AppToast { objectName: "toast"; text: "Deleted"; actionText: "Undo"; duration: 200; onTriggered: root.undone++; onClosed: root.closedToasts++ }
    AppSheet {
        id: sheet
        objectName: "sheet"
        title: "Sheet"
        onDismissed: open = false
        AppButton { objectName: "inSheet1"; text: "First" }
        AppButton { objectName: "inSheet2"; text: "Second" }
    }
    AppAlert {
        objectName: "alert"
        title: "Sure?"
        message: "Really?"
        buttons: ["No", "Yes"]
        onAnswered: (index) => { root.lastAnswer = index; open = false }
    }
}
