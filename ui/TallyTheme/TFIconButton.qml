import QtQuick
import QtQuick.Templates as T
import TallyFold

// A borderless button that shows only an icon; its name is its tip.
Item {
    id: root

    property string name
    property string icon
    property string refusal
    property bool isTabStop: true

    signal clicked

    implicitWidth: TallyTheme.smallControlHeight
    implicitHeight: TallyTheme.smallControlHeight

    T.Button {
        id: control

        anchors.fill: parent
        enabled: root.refusal === ""
        opacity: enabled ? 1 : TallyTheme.disabledOpacity
        focusPolicy: root.isTabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        hoverEnabled: true
        text: root.name
        Accessible.name: root.name
        Accessible.description: root.refusal
        Accessible.onPressAction: {
            if (enabled)
                root.clicked();
        }
        Keys.onReturnPressed: root.clicked()
        Keys.onEnterPressed: root.clicked()
        onClicked: root.clicked()

        contentItem: Item {
            TFIcon {
                anchors.centerIn: parent
                name: root.icon
                size: TallyTheme.smallIconSize
                color: control.hovered ? TallyTheme.primary : TallyTheme.tertiary
            }
        }

        background: Rectangle {
            radius: TallyTheme.controlRadius
            color: control.down ? TallyTheme.pressed : control.hovered ? TallyTheme.raised : "transparent"

            Loader {
                anchors.fill: parent
                active: control.visualFocus

                sourceComponent: TFFocusRing {
                    inset: TallyTheme.tightRing
                }
            }
        }
    }

    HoverHandler {
        id: hover
    }

    Loader {
        anchors.fill: parent
        active: hover.hovered

        sourceComponent: Item {
            TFToolTip {
                text: root.refusal !== "" ? root.refusal : root.name
                visible: true
            }
        }
    }
}
