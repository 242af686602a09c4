import QtQuick
import "qrc:/quillmarsh/kit"

// What the update window shows: a newer version and its notes, its installation, or why there is none.
Rectangle {
    id: root

    required property var prompt

    color: AppDesign.page

    Item {
        id: header
        x: 28
        y: 26
        width: root.width - 56
        height: Math.max(mark.height, titles.implicitHeight)

        AppMark {
            id: mark
            size: 48
            anchors.verticalCenter: parent.verticalCenter
        }
        Column {
            id: titles
            anchors { left: mark.right; leftMargin: 16; right: parent.right; verticalCenter: parent.verticalCenter }
            spacing: 2

            AppText {
                width: parent.width
                text: root.prompt.title
                size: 20
                weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            AppText {
                width: parent.width
                text: root.prompt.subtitle
                color: AppDesign.secondary
            }
        }
    }

    AppScrollView {
        id: body
        anchors {
            left: header.left
            right: header.right
            top: header.bottom
            topMargin: 20
            bottom: buttons.top
            bottomMargin: 16
            rightMargin: -gutter
        }
        gutter: 14
        spacing: 12

        AppProblem {
            width: parent.width
            text: root.prompt.error
        }
        AppLink {
            x: 27
            visible: root.prompt.error !== ""
            text: root.prompt.downloadLabel
            size: 13
            onClicked: root.prompt.pressDownload()
        }
        AppCard {
            width: parent.width
            visible: root.prompt.showsRelease
            padding: 16
            spacing: 8

            Repeater {
                model: root.prompt.notes

                Item {
                    id: line
                    required property string modelData
                    readonly property bool rightToLeft: note.effectiveHorizontalAlignment === Text.AlignRight

                    width: parent ? parent.width : 0
                    height: note.implicitHeight

                    AppBox {
                        x: line.rightToLeft ? line.width - 8 : 3
                        y: Math.round(note.font.pixelSize * 0.62) - 1
                        width: 5
                        height: 5
                        radius: 2.5
                        color: AppDesign.accent
                        lineWidth: 0
                    }
                    AppText {
                        id: note
                        x: line.rightToLeft ? 0 : 18
                        width: line.width - 18
                        text: line.modelData
                    }
                }
            }
        }
        AppText {
            width: parent.width
            visible: root.prompt.showsRelease
            text: root.prompt.reassurance
            size: 12
            color: AppDesign.secondary
        }
    }

    // Nothing else is in the body then.
    AppBox {
        width: 64
        height: 64
        radius: 32
        visible: !root.prompt.showsRelease && root.prompt.error === ""
        color: AppDesign.tint(AppDesign.success, 0.07)
        lineWidth: 0
        anchors { horizontalCenter: header.horizontalCenter; verticalCenter: body.verticalCenter }

        AppIcon { anchors.centerIn: parent; name: "checkmark"; size: 30; color: AppDesign.success }
    }

    Item {
        id: buttons
        anchors { left: header.left; right: header.right; bottom: parent.bottom; bottomMargin: 24 }
        height: main.implicitHeight

        AppSpinner {
            id: spinner
            running: root.prompt.showsProgress
            size: 18
            anchors.verticalCenter: parent.verticalCenter
        }
        AppText {
            visible: root.prompt.showsProgress
            anchors {
                left: spinner.right
                leftMargin: 10
                right: row.left
                rightMargin: 12
                verticalCenter: parent.verticalCenter
            }
            text: root.prompt.progress
            size: 12
            Accessible.role: Accessible.StatusBar
        }
        Row {
            id: row
            anchors.right: parent.right
            spacing: 10

            AppButton {
                visible: root.prompt.showsProgress
                text: root.prompt.continueLabel
                onClicked: root.prompt.close()
            }
            AppButton {
                objectName: "dismiss"
                visible: root.prompt.showsDismiss
                text: root.prompt.dismissLabel
                onClicked: root.prompt.close()
            }
            AppButton {
                id: main
                objectName: "main"
                visible: root.prompt.showsMain
                enabled: root.prompt.isMainEnabled
                kind: "primary"
                text: root.prompt.mainLabel
                onClicked: root.prompt.pressMain()
            }
        }
    }

    focus: true
    Keys.onEscapePressed: prompt.close()
}
