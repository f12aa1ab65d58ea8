import QtQuick
import TallyFold

// What came of it, as the biggest thing on the screen: an icon, words and a colour that agree.
Rectangle {
    id: root

    property string icon
    property string title
    // A Tone. While it is pending there is nothing to worry about.
    property int tone: Tone.Pending
    // It is being worked on.
    property bool isBusy: false
    default property alias details: column.data
    readonly property bool isPending: tone === Tone.Pending
    readonly property color toneColor: TallyTheme.toneColor(tone)

    implicitHeight: Math.max(TallyTheme.verdictHeight, column.implicitHeight + 2 * TallyTheme.space4)
    radius: TallyTheme.cardRadius
    color: isPending ? TallyTheme.surface : TallyTheme.tint(toneColor)
    border.color: isPending ? TallyTheme.hairline : TallyTheme.edge(toneColor)
    Accessible.role: Accessible.AlertMessage
    Accessible.name: root.title

    TFIcon {
        id: icon

        x: TallyTheme.space4
        y: TallyTheme.space4
        name: root.icon
        size: TallyTheme.verdictIconSize
        visible: !root.isBusy
        color: root.toneColor
    }

    TFSpinner {
        anchors.centerIn: icon
        size: TallyTheme.largeIconSize
        visible: root.isBusy
    }

    Column {
        id: column

        spacing: TallyTheme.space1

        anchors {
            left: icon.right
            right: parent.right
            leftMargin: TallyTheme.space4
            rightMargin: TallyTheme.space4
            top: parent.top
            topMargin: TallyTheme.space4
        }

        TFText {
            width: parent.width
            objectName: root.objectName + "Title"
            text: root.title
            color: root.isPending ? TallyTheme.primary : root.toneColor
            wrapMode: Text.Wrap
            font.pixelSize: TallyTheme.titleSize
            font.weight: Font.DemiBold
        }
    }
}
