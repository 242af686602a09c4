import QtQuick
import Quillmarsh.Kit 1.0

// A rounded area with an outline, for what no other control of the kit draws.
RoundedBox {
    radius: 10
    color: AppDesign.surface
    lineWidth: 1
    lineColor: AppDesign.outline
}
