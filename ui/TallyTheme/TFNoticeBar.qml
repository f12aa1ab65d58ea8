import QtQuick
import TallyFold

// What was done last, and the one thing that can be done about it.
Rectangle {
    id: root

    // Before the place; the whole sentence where there is none.
    property string words
    // Safe to show on one line; may be cut in its middle.
    property string place
    // Behind the place.
    property string remark
    property bool isGood: true
    property string action: qsTr("Show")
    property string actionTip: qsTr("Shows it in the file browser")

    signal acted
    signal dismissed

    width: parent.width
    implicitHeight: TallyTheme.controlHeight + 2 * TallyTheme.space1
    radius: TallyTheme.controlRadius
    color: TallyTheme.panel
    border.width: TallyTheme.lineWidth
    border.color: TallyTheme.accentEdge
    Accessible.role: Accessible.AlertMessage
    Accessible.name: words + place + remark

    TFIcon {
        id: icon

        x: TallyTheme.space3
        anchors.verticalCenter: parent.verticalCenter
        name: "checkmark"
        size: TallyTheme.smallIconSize
        color: root.isGood ? TallyTheme.good : TallyTheme.secondary
    }

    TFText {
        id: wordsText

        text: root.words

        anchors {
            left: icon.right
            leftMargin: TallyTheme.space2
            verticalCenter: parent.verticalCenter
        }
    }

    TFNameText {
        id: placeText

        text: root.place
        room: Math.max(0, actButton.x - wordsText.x - wordsText.width - remarkText.width - TallyTheme.space3)
        width: Math.min(wantedWidth, room)
        font.weight: Font.Medium

        anchors {
            left: wordsText.right
            verticalCenter: parent.verticalCenter
        }
    }

    TFText {
        id: remarkText

        text: root.remark

        anchors {
            left: placeText.left
            leftMargin: placeText.contentWidth
            verticalCenter: parent.verticalCenter
        }
    }

    TFButton {
        id: actButton

        objectName: "noticeAction"
        text: root.action
        tip: root.actionTip
        onClicked: root.acted()

        anchors {
            right: dismiss.left
            rightMargin: TallyTheme.space1
            verticalCenter: parent.verticalCenter
        }
    }

    TFIconButton {
        id: dismiss

        objectName: "dismissNotice"
        name: qsTr("Dismiss")
        icon: "xmark"
        onClicked: root.dismissed()

        anchors {
            right: parent.right
            rightMargin: TallyTheme.space1
            verticalCenter: parent.verticalCenter
        }
    }
}
