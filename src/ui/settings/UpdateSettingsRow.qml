import QtQuick
import "qrc:/quillmarsh/kit"

// The installed version, whether there is a newer one, and the button that looks.
AppCard {
    id: row

    required property var overview

    Item {
        width: parent.width
        height: Math.max(texts.implicitHeight, button.implicitHeight)

        AppMark {
            id: mark
            size: 36
            anchors.verticalCenter: parent.verticalCenter
        }
        Column {
            id: texts
            anchors {
                left: mark.right
                leftMargin: 14
                right: button.left
                rightMargin: 16
                verticalCenter: parent.verticalCenter
            }
            spacing: 2

            AppText {
                width: parent.width
                text: row.overview.update.title
                weight: Font.Medium
            }
            AppText {
                width: parent.width
                text: row.overview.update.subtitle
                size: 12
                color: AppDesign.secondary
            }
            AppText {
                width: parent.width
                text: row.overview.updateProblem
                visible: text !== ""
                size: 12
                color: AppDesign.secondary
            }
        }
        AppButton {
            id: button
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            width: row.overview.update.showsButton ? implicitWidth : 0
            visible: row.overview.update.showsButton
            enabled: !row.overview.isChecking
            text: row.overview.update.buttonLabel
            onClicked: row.overview.update.press()
        }
    }
}
