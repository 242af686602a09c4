import QtQuick
import "qrc:/quillmarsh/kit"

// The third step: writing actions of one's own, and the permission that shortcuts need.
Column {
    id: step

    property var models

    spacing: 12

    AppText {
        width: parent.width
        text: "A writing action is an instruction with a shortcut. Start with the ones that are here, or add your own."
        color: AppDesign.secondary
        bottomPadding: 4
    }
    AppRowButton {
        objectName: "createAction"
        width: parent.width
        icon: "plus"
        text: "Create a writing action"
        onClicked: step.models.editor.create()
    }
    AppRowButton {
        objectName: "allActions"
        width: parent.width
        icon: "list.bullet"
        text: "All writing actions"
        onClicked: step.models.tutorial.showWritingActions()

        AppText {
            text: step.models.actions.count
            color: AppDesign.secondary
            anchors.verticalCenter: parent.verticalCenter
        }
        AppIcon {
            name: "chevron.right"
            size: 14
            color: AppDesign.secondary
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    AppCard {
        width: parent.width

        PanelHeading {
            symbol: "hand.raised"
            title: "Enable shortcuts in other apps"
        }
        Flow {
            width: parent.width
            spacing: 14

            AppButton {
                id: setUp
                objectName: "setUpPermissions"
                text: "Set up permissions"
                onClicked: step.models.tutorial.setUpPermissions()
            }
            Item {
                width: badge.implicitWidth
                height: setUp.implicitHeight

                AppStatus {
                    id: badge
                    text: step.models.permissions.badge
                    positive: step.models.permissions.isEnabled
                    anchors.verticalCenter: parent.verticalCenter
                }
            }
        }
    }
}
