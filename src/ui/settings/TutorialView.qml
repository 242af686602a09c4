import QtQuick
import "qrc:/quillmarsh/kit"

// The getting-started guide: try it, connect, make it yours.
Item {
    id: view

    required property var models
    readonly property var tutorial: models.tutorial

    AppScrollView {
        id: page
        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: bar.top }
        padding: 32
        topPadding: 24

        Loader {
            id: content

            readonly property var files: ["TutorialDemo", "TutorialConnect", "TutorialCustomize"]
            readonly property int step: view.tutorial.step

            function show() {
                setSource(files[step] + ".qml", { models: view.models })
                page.contentY = 0
            }

            width: parent.width
            onStepChanged: show()
            Component.onCompleted: show()
        }
    }
    Rectangle {
        id: bar
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: buttons.height + 32 + (isNarrow ? progress.height + 12 : 0)

        // Where the buttons need the whole width, the progress stands above them.
        readonly property bool isNarrow: progress.width + buttons.width + 90 > width

        color: AppDesign.page

        Rectangle {
            width: parent.width
            height: 1
            color: AppDesign.border
        }
        Row {
            id: progress
            x: 33
            y: bar.isNarrow ? 16 : (bar.height - height) / 2
            spacing: 7

            Accessible.role: Accessible.StaticText
            Accessible.name: view.tutorial.progressText

            Repeater {
                model: 3

                Rectangle {
                    required property int index

                    width: index === view.tutorial.step ? 20 : 7
                    height: 7
                    radius: 3.5
                    color: index <= view.tutorial.step ? AppDesign.accent : AppDesign.border
                    anchors.verticalCenter: parent.verticalCenter

                    Behavior on width { AppearAnimation {} }
                }
            }
            Item { width: 5; height: 1 }
            AppText {
                text: view.tutorial.progressText
                size: 12
                color: AppDesign.secondary
                anchors.verticalCenter: parent.verticalCenter
                Accessible.ignored: true
            }
        }
        Row {
            id: buttons
            anchors { right: parent.right; rightMargin: 32; bottom: parent.bottom; bottomMargin: 16 }
            spacing: 10

            AppButton {
                objectName: "tutorialBack"
                visible: view.tutorial.step > 0
                text: "Back"
                onClicked: view.tutorial.back()
            }
            AppButton {
                objectName: "tutorialSkip"
                visible: view.tutorial.canSkip
                text: "Skip for now"
                onClicked: view.tutorial.skip()
            }
            AppButton {
                objectName: "tutorialNext"
                kind: "primary"
                enabled: view.tutorial.canAdvance
                text: view.tutorial.nextTitle
                onClicked: view.tutorial.advance()
            }
        }
    }
}
