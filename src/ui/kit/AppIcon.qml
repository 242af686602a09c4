import QtQuick
import Quillmarsh.Kit 1.0

// A symbol by its name, in any colour and size. It carries no meaning of its own to a screen reader: what stands
// beside it does.
SymbolImage {
    property real size: 16

    color: AppDesign.ink
    implicitWidth: size
    implicitHeight: size
    Accessible.ignored: true
}
