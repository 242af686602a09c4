import QtQuick
import Quillmarsh.Kit 1.0

// A framed place to type in, with its title above and a hint below.
FocusScope {
    id: place

    property string title
    property string hint
    property real frameHeight: 36
    // Whether what is typed goes in here.
    property bool active: false
    default property alias content: frame.data

    implicitWidth: 280
    implicitHeight: below.visible ? below.y + Math.ceil(below.height) : frame.y + frame.height
    opacity: enabled ? 1 : AppDesign.disabledOpacity

    AppText {
        id: caption
        text: place.title
        visible: text !== ""
        size: 12
        weight: Font.Medium
        Accessible.ignored: true
    }
    RoundedBox {
        id: frame
        y: caption.visible ? Math.ceil(caption.height) + 6 : 0
        width: parent.width
        height: place.frameHeight
        radius: 10
        color: AppDesign.surface
        lineWidth: place.active ? 1.5 : 1
        lineColor: place.active ? AppDesign.accent
                 : hover.hovered ? AppDesign.tint(AppDesign.secondary, 0.6) : AppDesign.outline

        HoverHandler { id: hover; cursorShape: Qt.IBeamCursor }
    }
    AppText {
        id: below
        y: frame.y + frame.height + 5
        width: parent.width
        text: place.hint
        visible: text !== ""
        size: 11
        color: AppDesign.secondary
        Accessible.ignored: true
    }
}
