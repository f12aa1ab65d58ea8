import QtQuick
import TallyFold

// The one alert, shown while there is a message. Dismissing it is all that it offers.
TFSheet {
    id: alert

    property string message
    // What it is about; may be cut in its middle.
    property string subject

    signal dismissed

    width: Math.min(TallyTheme.alertWidth, (parent ? parent.width : TallyTheme.alertWidth) - TallyTheme.space8)
    visible: message !== ""
    onClosed: dismissed()
    onOpened: button.takeFocus()

    contentItem: Column {
        spacing: TallyTheme.space3
        Accessible.role: Accessible.AlertMessage
        Accessible.name: title.text + ": " + (alert.subject === "" ? "" : alert.subject + ": ") + messageText.text

        Row {
            spacing: TallyTheme.space2

            TFIcon {
                anchors.verticalCenter: parent.verticalCenter
                name: "exclamationmark.triangle.fill"
                size: TallyTheme.titleIconSize
                color: TallyTheme.bad
            }

            TFText {
                id: title

                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Error")
                font.pixelSize: TallyTheme.sectionSize
                font.weight: Font.DemiBold
            }
        }

        TFNameText {
            objectName: "alertSubject"
            width: parent.width
            visible: text !== ""
            text: alert.subject
            font.weight: Font.Medium
        }

        TFText {
            id: messageText

            objectName: "alertMessage"
            width: parent.width
            text: alert.message !== "" ? alert.message : qsTr("Unknown error")
            wrapMode: Text.Wrap
            color: TallyTheme.secondary
        }

        TFButton {
            id: button

            objectName: "alertOk"
            anchors.right: parent.right
            width: TallyTheme.alertButtonWidth
            text: qsTr("OK")
            isProminent: true
            onClicked: alert.close()
        }
    }
}
