import QtQuick
import QtQuick.Window
import "qrc:/quillmarsh/kit"

// The menu under the status-bar icon.
FocusScope {
    id: root

    required property var menu
    property bool isComposited: false

    readonly property real inset: 8
    property real widestAction: 0

    signal dismissed()

    function measure() {
        let widest = 0
        for (let index = 0; index < actions.count; ++index)
            widest = Math.max(widest, actions.itemAt(index) ? actions.itemAt(index).implicitWidth : 0)
        widestAction = widest
    }

    function walk(forward) {
        const from = root.Window.window.activeFocusItem || root
        const next = from.nextItemInFocusChain(forward)
        if (next)
            next.forceActiveFocus(forward ? Qt.TabFocusReason : Qt.BacktabFocusReason)
    }

    // Wider where the name of an action would not stand beside its shortcut, within reason.
    implicitWidth: Math.round(Math.max(308 * AppDesign.textScale,
                                       Math.min(420 * AppDesign.textScale, widestAction + 2 * inset)))
    implicitHeight: top.implicitHeight + list.contentHeight + bottom.implicitHeight + 2 * inset
    focus: true

    Accessible.role: Accessible.PopupMenu
    Accessible.name: "Quillmarsh menu"

    Keys.onDownPressed: walk(true)
    Keys.onUpPressed: walk(false)
    Keys.onEscapePressed: {
        if (menu.showsCustomField)
            menu.hideCustomField()
        else
            dismissed()
    }

    Shortcut { sequences: ["Ctrl+,", "Meta+,"]; onActivated: root.menu.openQuillmarsh() }
    Shortcut { sequences: ["Ctrl+Q"]; onActivated: root.menu.quit() }

    AppBox {
        anchors.fill: parent
        radius: root.isComposited ? 14 : 0
    }

    Column {
        id: top
        x: root.inset
        y: root.inset
        width: root.width - 2 * root.inset

        Item {
            width: parent.width
            height: Math.ceil(heading.implicitHeight) + 18

            AppMark {
                id: mark
                x: 8
                size: 32
                anchors.verticalCenter: parent.verticalCenter
            }
            Column {
                id: heading
                anchors {
                    left: mark.right
                    leftMargin: 11
                    right: spinner.left
                    rightMargin: 8
                    verticalCenter: parent.verticalCenter
                }

                AppText {
                    width: parent.width
                    text: "Quillmarsh"
                    size: 14
                    weight: Font.DemiBold
                    Accessible.role: Accessible.Heading
                }
                AppText {
                    width: parent.width
                    text: root.menu.status
                    size: 12
                    color: AppDesign.secondary
                }
            }
            AppSpinner {
                id: spinner
                running: root.menu.isProcessing
                anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
            }
        }
        AppMenuNotice {
            width: parent.width
            text: root.menu.accessibilityNotice
            icon: "hand.raised"
            onClicked: root.menu.openPermissions()
        }
        AppMenuNotice {
            width: parent.width
            text: root.menu.updateNotice
            icon: "arrow.down.circle"
            onClicked: root.menu.showUpdate()
        }
        AppMenuNotice {
            width: parent.width
            text: root.menu.isConnected ? "" : root.menu.connection
            icon: "bubble.left.and.bubble.right"
            onClicked: root.menu.openConnections()
        }
        AppMenuSeparator { width: parent.width }
    }

    AppScrollView {
        id: list
        x: root.inset
        anchors.top: top.bottom
        width: top.width
        // On a small screen the actions scroll and the rest stays.
        height: Math.max(0, contentHeight - Math.max(0, root.implicitHeight - root.height))
        spacing: 0
        ground: AppDesign.surface
        gutter: interactive ? 8 : 0

        Repeater {
            id: actions
            model: root.menu.actions
            onItemAdded: root.measure()
            onItemRemoved: root.measure()

            AppMenuRow {
                required property var modelData
                required property int index

                width: list.width - list.gutter
                text: modelData.name
                icon: modelData.icon
                shortcut: modelData.shortcut
                note: modelData.refusal
                onImplicitWidthChanged: root.measure()
                onClicked: root.menu.runAction(index)
            }
        }
    }

    Column {
        id: bottom
        x: root.inset
        anchors.top: list.bottom
        width: top.width

        AppMenuRow {
            width: parent.width
            visible: !root.menu.showsCustomField
            text: "Custom instruction…"
            icon: "square.and.pencil"
            onClicked: root.menu.openCustomField()
        }
        Item {
            width: parent.width
            height: visible ? field.implicitHeight + 12 : 0
            visible: root.menu.showsCustomField

            onVisibleChanged: {
                if (visible)
                    field.forceActiveFocus(Qt.TabFocusReason)
                else
                    root.forceActiveFocus()
            }

            AppTextField {
                id: field
                anchors {
                    left: parent.left
                    leftMargin: 4
                    right: send.left
                    rightMargin: 6
                    verticalCenter: parent.verticalCenter
                }
                placeholder: "How should we rewrite it?"
                text: root.menu.customInstruction
                onEdited: root.menu.customInstruction = text
                onAccepted: root.menu.submit()
            }
            AppIconButton {
                id: send
                anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
                text: "Rewrite"
                icon: "arrow.up"
                enabled: root.menu.canSubmit
                onClicked: root.menu.submit()
            }
        }
        AppMenuSeparator { width: parent.width }
        Item {
            width: parent.width
            height: visible ? Math.ceil(badge.implicitHeight) + 10 : 0
            visible: root.menu.isConnected

            AppStatus {
                id: badge
                x: 8
                anchors.verticalCenter: parent.verticalCenter
                text: root.menu.connection
                positive: root.menu.isVerified
            }
        }
        AppMenuRow {
            width: parent.width
            visible: root.menu.updatesItself
            enabled: root.menu.canCheckForUpdates
            text: "Check for updates"
            icon: "arrow.clockwise"
            onClicked: root.menu.checkForUpdates()
        }
        AppMenuRow {
            width: parent.width
            text: "Open Quillmarsh"
            icon: "gearshape"
            shortcut: "⌘,"
            onClicked: root.menu.openQuillmarsh()
        }
        AppMenuRow {
            width: parent.width
            text: "Quit Quillmarsh"
            icon: "power"
            onClicked: root.menu.quit()
        }
    }
}
