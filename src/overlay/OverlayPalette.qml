pragma Singleton
import QtQuick

// The panel's colours: those of the product's windows, and the red of a failure, which the panel alone has.
QtObject {
    readonly property color surface: "#ffffff"
    readonly property color ink: "#24272e"
    readonly property color secondary: "#69707c"
    readonly property color border: "#dce0e7"
    readonly property color accent: "#315bb8"
    readonly property color accentSoft: "#e9efff"
    readonly property color success: "#377958"
    readonly property color alert: "#b4473c"
    readonly property color alertSoft: "#fbeceb"
}
