import QtQuick
import "qrc:/quillmarsh/kit"

// The hosted back end has nothing to set up; what it does with the text is said here, and what is left of the allowance.
AppCard {
    id: panel

    property var models

    spacing: 14

    PanelHeading {
        symbol: "cloud"
        title: "No API key needed"
    }
    AppTextParagraph {
        width: parent.width
        text: "Your selected text is sent to our server and the Cloud AI provider to perform your rewrite. We do not store your text in application logs or quota storage."
        size: 12
    }
    AppText {
        objectName: "allowance"
        width: parent.width
        visible: text !== ""
        text: panel.models.connections.allowance
        size: 12
        color: AppDesign.secondary
    }
}
