import QtQuick
import "qrc:/quillmarsh/kit"

// Which assistant handles rewrites, and what the chosen one needs. In a narrow window the panel lies below the list.
AppScrollView {
    id: view

    required property var models
    readonly property var connections: models.connections
    readonly property bool wide: width >= 640

    padding: 32
    spacing: 16

    Column {
        width: parent.width
        spacing: 3

        AppText {
            width: parent.width
            text: "Writing assistant"
            size: 15
            weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        AppText {
            width: parent.width
            text: "Use your own ChatGPT plan or API key from OpenAI or Claude."
            color: AppDesign.secondary
        }
    }
    Grid {
        id: columns
        width: parent.width
        columns: view.wide ? 2 : 1
        columnSpacing: 20
        rowSpacing: 20

        ConnectionSelector {
            id: selector
            objectName: "connectionSelector"
            width: view.wide ? Math.round((columns.width - 20) * 0.44) : columns.width
            title: "Choose your assistant"
            options: view.connections.choices
            currentIndex: view.connections.index
            onActivated: (index) => view.connections.choose(index)
        }
        Item {
            width: view.wide ? columns.width - selector.width - 20 : columns.width
            height: panel.y + panel.height

            Loader {
                id: panel

                readonly property var files: ["CloudPanel", "ChatGPTPanel", "APIKeyPanel"]
                readonly property int shown: view.connections.panel

                function show() {
                    setSource(files[shown] + ".qml", { models: view.models })
                }

                // Level with the first card of the list.
                y: view.wide ? Math.ceil(AppDesign.font(11).pixelSize * 1.26) + selector.spacing : 0
                width: parent.width
                onShownChanged: show()
                Component.onCompleted: show()
            }
        }
    }
    Column {
        width: parent.width
        topPadding: 4
        spacing: 10

        Repeater {
            model: view.connections.notes

            Note {
                required property string modelData
                required property int index

                width: parent.width
                symbol: ["lock", "checkmark.shield", "cloud"][index]
                text: modelData
            }
        }
    }
}
