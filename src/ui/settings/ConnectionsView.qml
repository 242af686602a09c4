import QtQuick
import "qrc:/quillmarsh/kit"

// Which assistant handles rewrites, what holds for all of them, and what the chosen one needs.
AppScrollView {
    id: view

    required property var models
    readonly property var connections: models.connections

    padding: 32
    topPadding: 24
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
    ConnectionSelector {
        objectName: "connectionSelector"
        width: parent.width
        columns: width >= 26 * AppDesign.font(13).pixelSize ? 2 : 1 // in a narrow window, or with large text
        title: "Choose your assistant"
        options: view.connections.choices
        currentIndex: view.connections.index
        onActivated: (index) => view.connections.choose(index)
    }
    Column {
        width: parent.width
        spacing: 6

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
    Loader {
        readonly property var files: ["CloudPanel", "ChatGPTPanel", "APIKeyPanel"]
        readonly property int shown: view.connections.panel

        function show() {
            setSource(files[shown] + ".qml", { models: view.models })
        }

        width: parent.width
        onShownChanged: show()
        Component.onCompleted: show()
    }
}
