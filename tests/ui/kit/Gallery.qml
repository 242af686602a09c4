import QtQuick
import "qrc:/quillmarsh/kit"

// Every control in every state, on one page.
Rectangle {
    id: root
    width: 1040
    height: 900
    color: AppDesign.page

    component Caption: AppText {
        size: 11
        weight: Font.DemiBold
        color: AppDesign.secondary
    }

    Row {
        anchors { fill: parent; margins: 24 }
        spacing: 24

        Column {
            width: 320
            spacing: 14

            Caption { text: "Buttons" }
            Row {
                spacing: 10
                AppButton { objectName: "primary"; kind: "primary"; text: "Install update" }
                AppButton { objectName: "secondary"; text: "Later" }
                AppButton { objectName: "quiet"; kind: "quiet"; text: "Continue here" }
            }
            Row {
                spacing: 10
                AppButton { kind: "primary"; text: "New action"; icon: "plus" }
                AppButton { text: "Try again"; icon: "arrow.counterclockwise" }
            }
            Row {
                spacing: 10
                AppButton { kind: "primary"; text: "Disabled"; enabled: false }
                AppButton { text: "Disabled"; enabled: false }
                AppButton { kind: "quiet"; text: "Disabled"; enabled: false }
            }
            Row {
                spacing: 10
                AppIconButton { text: "More"; icon: "ellipsis" }
                AppMenuButton { objectName: "menuButton"; text: "Actions"; items: [{ title: "Edit", symbol: "pencil" }, { title: "Move up", symbol: "arrow.up", enabled: false }, { title: "Delete", symbol: "trash" }] }
                AppLink { text: "Get an API key ↗"; anchors.verticalCenter: parent.verticalCenter }
                AppSpinner { anchors.verticalCenter: parent.verticalCenter }
            }
            Caption { text: "Rows" }
            AppRowButton { width: parent.width; text: "Autocorrect"; icon: "checkmark.circle"; KeycapRow { text: "⇧⌘R" } }
            AppRowButton { objectName: "row"; width: parent.width; text: "ChatGPT by OpenAI"; subtitle: "Use your ChatGPT subscription."; icon: "bubble.left.and.bubble.right"; AppIcon { name: "chevron.right"; size: 14; color: AppDesign.secondary } }
            QuietRowButton { width: parent.width; text: "Refresh available models"; icon: "arrow.clockwise" }
            QuietRowButton { objectName: "quietRow"; width: parent.width; text: "اكتب بوضوح أكثر"; icon: "pencil"; detail: "⌃R" }
            Caption { text: "Status and keys" }
            Row {
                spacing: 8
                AppStatus { text: "Enabled"; positive: true }
                AppStatus { text: "Not enabled" }
                AppStatus { text: "Allowed · check your shortcuts" }
            }
            Row {
                spacing: 12
                KeycapRow { text: "⌃⌥⇧⌘R" }
                KeycapRow { text: "⌃Space" }
                KeycapRow { text: "⌘←" }
            }
            AppText { text: "⌃⌥⇧⌘R in monospaced"; font: AppDesign.monospaced(12) }
        }

        Column {
            width: 300
            spacing: 14

            Caption { text: "Sidebar" }
            Column {
                width: parent.width
                spacing: 2
                SidebarButton { width: parent.width; text: "Overview"; icon: "house"; selected: true }
                SidebarButton { objectName: "sidebar"; width: parent.width; text: "Shortcuts"; icon: "command" }
                SidebarButton { width: parent.width; text: "Connect your AI"; icon: "circle.hexagongrid" }
                SidebarButton { width: parent.width; text: "Getting started"; icon: "book.closed" }
                SidebarButton { width: parent.width; text: "Permissions"; icon: "checkmark.shield" }
            }
            ConnectionSelector {
                objectName: "selector"
                width: parent.width
                title: "Choose your assistant"
                currentIndex: 0
                onActivated: (index) => currentIndex = index
                options: [
                    { title: "ChatGPT", subtitle: "Your own plan", symbol: "bubble.left.and.bubble.right" },
                    { title: "Quillmarsh Cloud", subtitle: "No API key needed", symbol: "cloud" },
                    { title: "OpenAI", subtitle: "With an API key", symbol: "key" }
                ]
            }
            AppFieldMenu {
                objectName: "model"
                width: parent.width
                title: "Model"
                currentIndex: 1
                onActivated: (index) => currentIndex = index
                options: [{ title: "Small", subtitle: "Quick answers" }, { title: "Medium", subtitle: "A good balance" }, { title: "Large", subtitle: "The most careful" }]
            }
            AppFieldMenu { width: parent.width; placeholder: "Choose an account"; options: ["One"] }
            AppSelectOption { objectName: "option"; width: parent.width; title: "Claude"; subtitle: "by Anthropic · Connect an API key"; symbol: "key" }
            AppMenuRow { objectName: "menuRow"; width: parent.width; text: "Formal"; icon: "building.2"; shortcut: "⌥F"; note: "⌥F is used by another program" }
            AppMenuNotice { width: parent.width; text: "Update available · v1.1"; icon: "arrow.down.circle" }
            AppStep { width: parent.width; number: 1; text: "Find Quillmarsh.app in your downloads." }
        }

        Column {
            width: 300
            spacing: 14

            Caption { text: "Card and fields" }
            AppCard {
                width: parent.width
                AppText { text: "Your words, a little clearer."; size: 17; weight: Font.DemiBold; width: parent.width }
                AppText { text: "Select the sentence."; color: AppDesign.secondary; width: parent.width }
                AppTextField { objectName: "field"; width: parent.width; title: "Name"; placeholder: "e.g. Formal, Casual, Shorter..." }
                AppTextField { objectName: "secret"; width: parent.width; secret: true; text: "sk-canary-123"; title: "API key"; hint: "API usage is billed separately by your provider." }
                AppTextField { width: parent.width; text: "نص بالعربية" }
                AppTextArea { objectName: "area"; width: parent.width; title: "Instruction"; placeholder: "Write your own instruction"; hint: "Tell the AI how to rewrite the selected text." }
            }
            Caption { text: "Symbols" }
            Grid {
                columns: 11
                spacing: 10
                Repeater {
                    model: kitSymbols
                    AppIcon { required property string modelData; name: modelData; size: 17; color: AppDesign.ink }
                }
            }
        }
    }
    AppToast { objectName: "toast"; text: "“Formal” deleted"; actionText: "Undo"; shown: true }
}
