import QtQuick
import QtQuick.Templates as T
import TallyFold

// A toggle: filled with a check mark while it is on.
T.Button {
    id: control

    implicitWidth: row.implicitWidth + 2 * TallyTheme.space2
    implicitHeight: TallyTheme.controlHeight
    checkable: true
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    opacity: enabled ? 1 : TallyTheme.disabledOpacity
    Accessible.role: Accessible.CheckBox
    Accessible.name: text
    Accessible.checkable: true
    Accessible.checked: checked
    Keys.onReturnPressed: flip()
    Keys.onEnterPressed: flip()

    function flip() {
        toggle();
        toggled();
    }

    contentItem: Item {
        Row {
            id: row

            anchors.centerIn: parent
            spacing: TallyTheme.space1

            TFIcon {
                anchors.verticalCenter: parent.verticalCenter
                name: control.checked ? "checkmark" : "plus"
                size: 11
                color: control.checked ? TallyTheme.accent : TallyTheme.tertiary
            }

            TFText {
                anchors.verticalCenter: parent.verticalCenter
                text: control.text
                color: control.checked ? TallyTheme.primary : TallyTheme.secondary
                font.weight: Font.Medium
            }
        }
    }

    background: Rectangle {
        radius: TallyTheme.controlRadius
        color: control.down ? TallyTheme.pressed : control.checked ? TallyTheme.accentTint : control.hovered ? TallyTheme.raised : TallyTheme.surface
        border.color: control.checked ? TallyTheme.accentEdge : TallyTheme.hairline

        TFFocusRing {
            visible: control.visualFocus
        }
    }
}
