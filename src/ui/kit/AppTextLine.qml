import QtQuick

// What a control is called, on one line, shortened where there is no room. The control itself tells it to a screen
// reader.
AppText {
    wrapMode: Text.NoWrap
    elide: Text.ElideRight
    Accessible.ignored: true
}
