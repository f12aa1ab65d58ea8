import QtQuick
import TallyFold

// The looking for files that the list does not name, where it takes long.
Item {
    id: root

    required property AuditFlow audit
    property bool isLong: false

    height: isLong && audit.isLooking ? cancel.height : 0
    visible: height > 0

    Timer {
        interval: TallyTheme.longWorkDelay
        running: root.audit.isLooking
        onRunningChanged: {
            if (running)
                root.isLong = false;
        }
        onTriggered: root.isLong = true
    }

    TFStaticText {
        id: words

        text: qsTr("Looking for files that are not in the list…")
        color: TallyTheme.secondary
        wrapMode: Text.Wrap

        anchors {
            left: parent.left
            right: cancel.left
            rightMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }
    }

    TFButton {
        id: cancel

        objectName: "cancelAudit"
        anchors.right: parent.right
        text: qsTr("Cancel")
        accessibleName: qsTr("Cancel looking for files that are not in the list")
        onClicked: root.audit.cancel()
    }
}
