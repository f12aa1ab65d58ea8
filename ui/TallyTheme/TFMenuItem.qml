import QtQuick
import QtQuick.Templates as T
import TallyFold

T.MenuItem {
    id: item

    property string symbol
    property string shortcutText

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
            anchors {
                left: item.symbol === "" ? parent.left : symbolIcon.right
                leftMargin: item.symbol === "" ? 0 : TallyTheme.space2
                right: keys.left
                verticalCenter: parent.verticalCenter
            }
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
