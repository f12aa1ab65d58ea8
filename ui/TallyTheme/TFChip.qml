import QtQuick
import QtQuick.Templates as T
import TallyFold

// A toggle: filled with a check mark while it is on. It shows what `checked` is bound to, and asks for a change of it.
Item {
    id: root

    property string text
    property bool checked: false
    // One of several, of which one is on.
    property bool isExclusive: false
    // Why it cannot be toggled now; empty when it can.
    property string refusal

    signal toggled(bool isOn)

    implicitWidth: control.implicitWidth
    implicitHeight: TallyTheme.controlHeight

    T.CheckBox {
        id: control

        function flip() {
            if (enabled)
                root.toggled(!root.checked);
        }

        anchors.fill: parent
        implicitWidth: row.implicitWidth + 2 * TallyTheme.space2
        enabled: root.refusal === ""
        opacity: enabled ? 1 : TallyTheme.disabledOpacity
        focusPolicy: Qt.StrongFocus
        hoverEnabled: true
        checked: root.checked
        nextCheckState: () => checkState
        Accessible.role: root.isExclusive ? Accessible.RadioButton : Accessible.CheckBox
        Accessible.name: root.text
        Accessible.description: root.refusal
        Accessible.checkable: true
        Accessible.onPressAction: flip()
        Accessible.onToggleAction: flip()
        Keys.onReturnPressed: flip()
        Keys.onEnterPressed: flip()
        onClicked: flip()

        contentItem: Item {
            Row {
                id: row

                anchors.centerIn: parent
                spacing: TallyTheme.space1

                TFIcon {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: !root.isExclusive
                    name: root.checked ? "checkmark" : "plus"
                    size: TallyTheme.markSize
                    color: root.checked ? TallyTheme.accent : TallyTheme.tertiary
                }

                TFText {
                    anchors.verticalCenter: parent.verticalCenter
                    text: root.text
                    color: root.checked ? TallyTheme.primary : TallyTheme.secondary
                    font.weight: Font.Medium
                }
            }
        }

        background: TFChipFrame {
            isOn: root.checked
            isDown: control.down
            isHovered: control.hovered

            TFFocusRing {
                visible: control.visualFocus
            }
        }
    }

    HoverHandler {
        id: hover
    }

    TFToolTip {
        text: root.refusal
        visible: hover.hovered && root.refusal !== ""
    }
}
