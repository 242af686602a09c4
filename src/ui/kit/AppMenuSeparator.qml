import QtQuick

// A hairline between groups of a menu panel.
Item {
    implicitWidth: 240
    implicitHeight: 13

    Accessible.role: Accessible.Separator

    Rectangle {
        anchors { left: parent.left; right: parent.right; margins: 8; verticalCenter: parent.verticalCenter }
        height: 1
        color: AppDesign.outline
        opacity: AppDesign.increaseContrast ? 1 : 0.7
    }
}
