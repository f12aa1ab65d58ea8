import QtQuick
import QtQuick.Templates as T
import TallyFold

T.MenuItem {
    id: item

    property string symbol
    property string shortcutText
    readonly property real keysRoom: shortcutText === "" ? 0 : TallyTheme.space4 + keys.implicitWidth

    implicitWidth: leftPadding + label.x + label.implicitWidth + keysRoom + rightPadding
    implicitHeight: TallyTheme.controlHeight
    leftPadding: TallyTheme.space3
    rightPadding: TallyTheme.space3
    opacity: enabled ? 1 : TallyTheme.disabledOpacity
    Accessible.role: Accessible.MenuItem
    Accessible.name: text
    Accessible.onPressAction: {
        if (!enabled)
            return;
        menu.dismiss();
        triggered();
    }

    contentItem: Item {
        TFIcon {
            id: symbolIcon

            anchors.verticalCenter: parent.verticalCenter
            visible: item.symbol !== ""
            name: item.symbol
        }

        TFText {
            id: label

            x: item.symbol === "" ? 0 : symbolIcon.width + TallyTheme.space2
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - x - item.keysRoom
            text: item.text
            elide: Text.ElideRight
        }

        TFText {
            id: keys

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            text: item.shortcutText
            color: TallyTheme.tertiary
            font.pixelSize: TallyTheme.captionSize
        }
    }

    background: Rectangle {
        radius: TallyTheme.controlRadius
        color: item.down ? TallyTheme.pressed : item.highlighted ? TallyTheme.raised : "transparent"
        border.width: item.highlighted ? TallyTheme.lineWidth : 0
        border.color: TallyTheme.accentEdge
    }
}
