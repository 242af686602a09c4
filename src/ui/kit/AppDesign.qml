pragma Singleton
import QtQuick
import Quillmarsh.Kit 1.0

// The palette, the type and the wishes of the desktop, as every view reads them.
QtObject {
    readonly property color page: Design.page
    readonly property color surface: Design.surface
    readonly property color muted: Design.muted
    readonly property color ink: Design.ink
    readonly property color secondary: Design.secondary
    readonly property color border: Design.border
    readonly property color accent: Design.accent
    readonly property color accentSoft: Design.accentSoft
    readonly property color success: Design.success

    readonly property bool reduceMotion: Design.reduceMotion
    readonly property bool increaseContrast: Design.increaseContrast
    // The outline of fields and cards; stronger where the desktop asks for contrast.
    readonly property color outline: increaseContrast ? secondary : border

    // What holds text grows with it.
    readonly property real textScale: Design.textScale

    readonly property real disabledOpacity: 0.45

    readonly property int pressDuration: reduceMotion ? 0 : 120
    readonly property int appearDuration: reduceMotion ? 0 : 180
    readonly property var pressCurve: [0.23, 1.0, 0.32, 1.0, 1, 1]

    function font(size, weight) {
        return Design.font(size, weight === undefined ? Font.Normal : weight)
    }

    function monospaced(size) {
        return Design.monospaced(size)
    }

    // How far down something of this height stands beside the first line of a text of this size.
    function besideLine(size, height) {
        return Math.max(0, Math.round((1.26 * Design.font(size, Font.Normal).pixelSize - height) / 2))
    }

    function tint(color, opacity) {
        return Qt.rgba(color.r, color.g, color.b, opacity)
    }
}
