import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// The one alert, shown while there is a message. Dismissing it is all that it offers.
T.Popup {
    id: alert

    property string message
    // What had the focus, and gets it back.
    property Item opener

    signal dismissed

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(TallyTheme.alertWidth, (parent ? parent.width : TallyTheme.alertWidth) - TallyTheme.space8)
    implicitHeight: contentItem.implicitHeight + 2 * padding
    padding: TallyTheme.space6
    modal: true
    focus: true
    visible: message !== ""
    closePolicy: T.Popup.CloseOnEscape
    onAboutToShow: opener = parent.Window.activeFocusItem
    onClosed: {
        dismissed();
        if (opener?.visible)
            opener.forceActiveFocus(Qt.TabFocusReason);
    }
    onOpened: button.takeFocus()

    T.Overlay.modal: Rectangle {
        color: TallyTheme.scrim
    }

    contentItem: Column {
        spacing: TallyTheme.space3
        Accessible.role: Accessible.AlertMessage
        Accessible.name: title.text + ": " + messageText.text

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

    background: Rectangle {
        radius: TallyTheme.cardRadius
        color: TallyTheme.panel
        border.color: TallyTheme.hairline
    }
}
