import QtQuick

// Something goes on and nobody knows how long. It stands still where motion is not wanted.
AppIcon {
    id: spinner

    property bool running: true

    name: "progress"
    size: 16
    color: AppDesign.accent
    visible: running
    smooth: true

    RotationAnimation on rotation {
        running: spinner.running && spinner.visible && !AppDesign.reduceMotion
        from: 0
        to: 360
        duration: 1100
        loops: Animation.Infinite
    }
}
