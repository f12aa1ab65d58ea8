import QtQuick
import TallyFold

// The looking for files that the list does not name, and the search for the missing ones among them.
Item {
    id: root

    required property AuditFlow audit
    // A walk takes long enough to be told.
    property bool isLong: false
    readonly property bool isShown: audit.isSearching || audit.offersSearch || (isLong && audit.isLooking)

    height: isShown ? button.height : 0
    visible: isShown

    Timer {
        interval: TallyTheme.longWorkDelay
        running: root.audit.isLooking
        onRunningChanged: {
            if (running)
                root.isLong = false;
        }
        onTriggered: root.isLong = true
    }

    TFButton {
        id: button

        objectName: root.audit.isBusy ? "cancelAudit" : "findMoved"
        isRunning: root.audit.isBusy
        text: root.audit.isBusy ? qsTr("Cancel") : qsTr("Find Moved Files")
        accessibleName: {
            if (root.audit.isLooking)
                return qsTr("Cancel looking for files that are not in the list");
            return root.audit.isSearching ? qsTr("Cancel the search for missing files") : text;
        }
        tip: root.audit.isBusy ? "" : qsTr("Calculates checksums of the files that are not in the list, and compares them with those of the missing ones")
        isTipBelow: true
        onClicked: {
            if (root.audit.isBusy)
                root.audit.cancel();
            else
                root.audit.findMoved();
        }
    }

    TFStaticText {
        visible: root.audit.isLooking
        text: qsTr("Looking for files that are not in the list…")
        color: TallyTheme.secondary
        elide: Text.ElideRight

        anchors {
            left: button.right
            right: parent.right
            leftMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }
    }

    Column {
        visible: root.audit.isSearching

        anchors {
            left: button.right
            right: parent.right
            leftMargin: TallyTheme.space3
            verticalCenter: parent.verticalCenter
        }

        TFProgressBar {
            objectName: "auditProgress"
            width: parent.width
            value: root.audit.progress
            Accessible.name: qsTr("Search for missing files")
        }

        TFRunFigures {
            width: parent.width
            status: root.audit.runStatus
            figure: root.audit.progressFigure
        }
    }

    Shortcut {
        enabled: root.visible && root.audit.isBusy
        sequence: "Esc"
        onActivated: root.audit.cancel()
    }
}
