import QtQuick

// How things come, go and move in the views; at once where motion is not wanted.
NumberAnimation {
    duration: AppDesign.appearDuration
    easing.type: Easing.OutCubic
}
