import QtQuick

// A text in the kit font. What the user wrote keeps its own direction.
Text {
    property real size: 13
    property int weight: Font.Normal

    font: AppDesign.font(size, weight)
    color: AppDesign.ink
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    renderType: Text.NativeRendering
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
