import QtQuick
import QtQuick.Templates as T
import TallyFold

// One of several ways to look at a list, and how much there is to see that way. It shows what `isChosen` is bound
// to, and asks for a change of it.
T.RadioButton {
    id: control

    property int figure
    property bool isChosen: false
    // The colour of the figure, where it is not 0.
    property color tone: TallyTheme.secondary

    signal chosen

    implicitWidth: row.implicitWidth + 2 * TallyTheme.space3
    implicitHeight: TallyTheme.smallControlHeight
    checked: isChosen
    hoverEnabled: true
    focusPolicy: isChosen || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    Accessible.name: text + ", " + count.text
    Accessible.onPressAction: chosen()
    Keys.onReturnPressed: chosen()
    Keys.onEnterPressed: chosen()
    onClicked: chosen()

    contentItem: Item {
        Row {
            id: row

            anchors.centerIn: parent
            spacing: TallyTheme.space2

            TFText {
                anchors.verticalCenter: parent.verticalCenter
                text: control.text
                color: control.isChosen ? TallyTheme.primary : TallyTheme.secondary
                font.weight: Font.Medium
            }

            TFText {
                id: count

                anchors.verticalCenter: parent.verticalCenter
                text: control.figure.toLocaleString(Qt.locale(), "f", 0)
                color: control.figure === 0 ? TallyTheme.tertiary : control.tone
                font.pixelSize: TallyTheme.captionSize
                font.weight: Font.DemiBold
            }
        }
    }

    background: TFChipFrame {
        isOn: control.isChosen
        isDown: control.down
        isHovered: control.hovered

        TFFocusRing {
            visible: control.visualFocus
            inset: TallyTheme.chipRing
        }
    }
}
