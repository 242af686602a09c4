import QtQuick
import "qrc:/quillmarsh/kit"

// Two figures and the update row; once, after the getting-started guide, the writing actions that are there now.
AppScrollView {
    id: view

    required property var models
    readonly property var overview: models.overview

    padding: 32
    topPadding: 24
    spacing: 16

    Row {
        id: figures
        width: parent.width
        spacing: 16

        MetricCard {
            width: (figures.width - figures.spacing) / 2
            height: Math.max(implicitHeight, rewrites.implicitHeight)
            symbol: "command"
            title: "Active shortcuts"
            value: view.overview.activeShortcutCount
            help: "Writing actions with a keyboard shortcut assigned."
        }
        MetricCard {
            id: rewrites
            width: (figures.width - figures.spacing) / 2
            height: parent.children[0].height
            symbol: "text.badge.checkmark"
            title: "Rewrites completed"
            value: view.overview.completedRewriteCount
            help: "Successful rewrites on this Mac since usage tracking was added."
        }
    }
    AppCard {
        width: parent.width
        padding: 8
        spacing: 0
        objectName: "welcomeActions"
        visible: view.models.tutorial.hasJustFinished && view.models.actions.count > 0

        Repeater {
            model: view.models.tutorial.hasJustFinished ? view.models.actions : null

            ActionSummary {
                required property int index
                required property string name
                required property string symbol
                required property string shortcut

                width: parent.width
                visible: index < 5
                actionName: name
                actionSymbol: symbol
                shortcutText: shortcut
                onClicked: view.models.editor.edit(index)
            }
        }
        Item {
            width: parent.width
            height: 9

            Rectangle {
                anchors { left: parent.left; right: parent.right; margins: 9; verticalCenter: parent.verticalCenter }
                height: 1
                color: AppDesign.tint(AppDesign.border, 0.7)
            }
        }
        QuietRowButton {
            width: parent.width
            implicitHeight: 40
            icon: "list.bullet"
            text: "All writing actions"
            onClicked: view.models.tutorial.showWritingActions()

            AppIcon { name: "chevron.right"; size: 14; color: AppDesign.secondary }
        }
    }
    UpdateSettingsRow {
        width: parent.width
        overview: view.overview
    }
}
