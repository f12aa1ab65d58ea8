import QtQuick
import QtQuick.Templates as T
import TallyFold

// One of several ways to look at a list, and how much there is to see that way. It shows what `isChosen` is bound
// to, and asks for a change of it.
T.RadioButton {
    id: control

    property string figure
    // There is nothing to see.
    property bool isEmpty: false
    property bool isChosen: false
    // A Tone.
    property int tone: Tone.Pending
    // From the chip before it in its row, besides the space between all of them.
    property int distance: 0
    readonly property int indent: x > 0 ? distance : 0

    signal chosen

    // The chip beside it, as the arrow keys reach it.
    function choose(step: int) {
        const chips = Array.from(parent.children).filter(item => item instanceof TFFilterChip && item.visible);
        const next = chips[chips.indexOf(control) + step];
        if (!next)
            return;
        next.forceActiveFocus(Qt.TabFocusReason);
        next.chosen();
    }

    objectName: "filter" + text
    implicitWidth: row.implicitWidth + 2 * TallyTheme.space3 + distance
    implicitHeight: TallyTheme.smallControlHeight
    leftInset: indent
    rightInset: distance - indent
    leftPadding: leftInset
    rightPadding: rightInset
    containmentMask: background
    checked: isChosen
    hoverEnabled: true
    focusPolicy: isChosen || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
    Accessible.name: text + ", " + figure
    Accessible.onPressAction: chosen()
    Keys.onLeftPressed: choose(-1)
    Keys.onRightPressed: choose(1)
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
                anchors.verticalCenter: parent.verticalCenter
                text: control.figure
                color: {
                    if (control.isEmpty)
                        return TallyTheme.tertiary;
                    return control.tone === Tone.Pending ? TallyTheme.secondary : TallyTheme.toneColor(control.tone);
                }
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
