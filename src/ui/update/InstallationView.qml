import QtQuick
import "qrc:/quillmarsh/kit"

// The welcome screen of a copy that does not run from Applications.
Rectangle {
    id: root

    required property var model

    implicitWidth: 720
    implicitHeight: 600
    color: AppDesign.page

    AppScrollView {
        id: page
        anchors.fill: parent
        padding: 28
        spacing: 0

        Item {
            width: 1
            height: Math.max(0, (root.height - 2 * page.padding - content.implicitHeight) / 2)
        }
        Column {
            id: content
            width: Math.min(parent.width, 560 * AppDesign.textScale)
            anchors.horizontalCenter: parent.horizontalCenter
            spacing: 18

            Column {
                width: parent.width
                spacing: 4

                AppText {
                    width: parent.width
                    text: root.model.caption
                    size: 13
                    weight: Font.DemiBold
                    color: AppDesign.accent
                }
                AppText {
                    width: parent.width
                    text: root.model.headline
                    size: 28
                    weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                }
                AppText {
                    width: parent.width
                    text: root.model.line
                    size: 14
                    color: AppDesign.secondary
                }
            }

            AppCard {
                width: parent.width
                padding: 20
                spacing: 18

                Row {
                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: 28

                    Column {
                        spacing: 8
                        AppMark { size: 64; anchors.horizontalCenter: parent.horizontalCenter }
                        AppText {
                            text: "Quillmarsh"
                            size: 12
                            color: AppDesign.secondary
                            anchors.horizontalCenter: parent.horizontalCenter
                        }
                    }
                    AppIcon {
                        y: 20
                        name: "arrow.right"
                        size: 24
                        color: AppDesign.secondary
                    }
                    Column {
                        spacing: 8
                        AppBox {
                            width: 64
                            height: 64
                            radius: 16
                            continuous: true
                            color: AppDesign.accentSoft
                            lineWidth: 0
                            anchors.horizontalCenter: parent.horizontalCenter

                            AppIcon { anchors.centerIn: parent; name: "folder.fill"; size: 38; color: AppDesign.accent }
                        }
                        AppText {
                            text: root.model.folderLabel
                            size: 12
                            color: AppDesign.secondary
                            anchors.horizontalCenter: parent.horizontalCenter
                        }
                    }
                }
                Rectangle { width: parent.width; height: 1; color: AppDesign.outline }
                Column {
                    width: parent.width
                    spacing: 10

                    Repeater {
                        model: root.model.steps

                        AppStep {
                            required property string modelData
                            required property int index

                            width: parent ? parent.width : 0
                            number: index + 1
                            text: modelData
                        }
                    }
                }
            }

            Flow {
                width: parent.width
                spacing: 10

                AppButton {
                    text: root.model.showDownloadLabel
                    onClicked: root.model.showDownload()
                }
                AppButton {
                    text: root.model.openApplicationsLabel
                    onClicked: root.model.openApplications()
                }
                AppButton {
                    objectName: "openInstalled"
                    kind: "primary"
                    text: root.model.openInstalledLabel
                    enabled: !root.model.isOpening
                    onClicked: root.model.openInstalled()
                }
            }
            Column {
                width: parent.width
                spacing: 10

                AppButton {
                    kind: "quiet"
                    text: root.model.continueLabel
                    onClicked: root.model.continueHere()
                }
                AppProblem {
                    id: problem
                    width: parent.width
                    text: root.model.errorMessage
                    // Queued: it has its height first.
                    onHeightChanged: if (visible) Qt.callLater(page.reveal, problem)
                }
            }
        }
    }
}
