import QtQuick
import "qrc:/quillmarsh/kit"

// The hosted back end has nothing to set up; what it does with the text is said here.
AppCard {
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
}
