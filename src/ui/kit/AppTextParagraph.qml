import QtQuick

// A few sentences that explain something, with room between their lines.
AppText {
    color: AppDesign.secondary
    lineHeight: 1.15
    height: Math.ceil(implicitHeight) // a fraction of a pixel would blur what stands below
}
