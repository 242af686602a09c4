import QtQuick
import Quillmarsh.Overlay

// The panel's content: a rounded surface with a margin for its shadow, and in it the layout of the phase.
Item {
    id: view

    required property RewriteOverlayState overlay
    required property OverlaySurroundings surroundings

    // The phase on display. It follows the state's after it is known whether this change is one to animate.
    property int phase: RewriteOverlayState.Working
    property bool animates: false

    readonly property real inset: 12
    readonly property real surfaceRadius: Math.min(18, surface.height / 2)
    readonly property bool isSolid: !surroundings.isComposited || surroundings.reduceTransparency
                                    || surroundings.increaseContrast
    readonly property color outline: surroundings.increaseContrast ? OverlayPalette.secondary : OverlayPalette.border

    function follow() {
        animates = overlay.animatesPhaseChanges() && !surroundings.reduceMotion
        phase = overlay.phase
    }

    Component.onCompleted: follow()

    Connections {
        target: view.overlay
        function onPhaseChanged() { view.follow() }
    }

    Accessible.role: Accessible.AlertMessage
    Accessible.name: overlay.title
    Accessible.description: overlay.detail

    PanelShadow {
        anchors.fill: parent
        inset: view.inset
        radius: view.surfaceRadius
        visible: view.surroundings.isComposited
    }

    // Without a compositor the window's shape is cut from full pixels; what lies under the rounded edge then has to
    // be of the edge's own colour.
    Rectangle {
        anchors.fill: parent
        color: view.outline
        visible: !view.surroundings.isComposited
    }

    Rectangle {
        id: surface
        anchors.fill: parent
        anchors.margins: view.inset
        radius: view.surfaceRadius
        color: view.isSolid ? OverlayPalette.surface : Qt.alpha(OverlayPalette.surface, 0.97)
        border.width: view.surroundings.increaseContrast ? 2 : 1
        border.color: view.outline
        clip: true

        // Each layout has the size of its own phase from the start and stands where the panel does, at the bottom
        // centre; a surface that grows uncovers it.
        ProgressPill {
            anchors.bottom: parent.bottom
            anchors.horizontalCenter: parent.horizontalCenter
            width: 56
            height: 36
            overlay: view.overlay
            surroundings: view.surroundings
            radius: view.surfaceRadius
            isCurrent: view.phase === RewriteOverlayState.Working
            opacity: isCurrent ? 1 : 0
            visible: opacity > 0
            enabled: isCurrent

            Behavior on opacity {
                enabled: view.animates
                NumberAnimation { duration: 70 }
            }
        }

        SuccessPill {
            anchors.bottom: parent.bottom
            anchors.horizontalCenter: parent.horizontalCenter
            width: view.overlay.windowSize.width - 2 * view.inset
            height: 32
            overlay: view.overlay
            surroundings: view.surroundings
            radius: view.surfaceRadius
            enabled: view.phase === RewriteOverlayState.Success
            opacity: enabled ? 1 : 0
            visible: opacity > 0

            Behavior on opacity {
                enabled: view.animates
                OutcomeFade {}
            }
        }

        ErrorCard {
            anchors.bottom: parent.bottom
            anchors.horizontalCenter: parent.horizontalCenter
            width: 320
            height: view.overlay.hasActionTitle ? 104 : 80
            overlay: view.overlay
            surroundings: view.surroundings
            enabled: view.phase === RewriteOverlayState.Error
            opacity: enabled ? 1 : 0
            visible: opacity > 0

            Behavior on opacity {
                enabled: view.animates
                OutcomeFade {}
            }
        }
    }

    // The outcome comes in while the surface settles into its size, not before there is room for it: what sticks out
    // would be cut straight at the surface's round ends.
    component OutcomeFade: SequentialAnimation {
        PauseAnimation { duration: 110 }
        NumberAnimation {
            duration: 70
            easing.type: Easing.BezierSpline
            easing.bezierCurve: [0.23, 1, 0.32, 1, 1, 1]
        }
    }
}
