import QtQuick
import TallyFold

// Stands in the place of a list: why there is nothing in it, and below that what to do about it.
Column {
    id: root

    property alias icon: icon.name
    property alias text: line.text
    property alias textName: line.objectName
    // It is not known yet whether there is anything; nothing is said.
    property bool isPending: false

    anchors.centerIn: parent
    width: parent.width - 2 * TallyTheme.space6
    spacing: TallyTheme.space3

    TFIcon {
        id: icon

        anchors.horizontalCenter: parent.horizontalCenter
        visible: !root.isPending
        size: TallyTheme.largeIconSize
        color: TallyTheme.tertiary
    }

    TFStaticText {
        id: line

        width: parent.width
        visible: !root.isPending
        color: TallyTheme.secondary
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
    }
}
