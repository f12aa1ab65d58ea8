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
    // What it does is not seen: a tick tells for a moment that it is done.
    property bool isConfirmed: false

    signal clicked

    implicitWidth: TallyTheme.smallControlHeight
    implicitHeight: TallyTheme.smallControlHeight
    onClicked: {
        if (isConfirmed)
            tick.restart();
    }

    Timer {
        id: tick

        interval: TallyTheme.tickDuration
    }

    T.Button {
        id: control

        anchors.fill: parent
        enabled: root.refusal === ""
        opacity: enabled ? 1 : TallyTheme.disabledOpacity
        focusPolicy: root.isTabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        hoverEnabled: true
        text: root.name
        Accessible.name: root.name
        Accessible.description: tick.running ? qsTr("Copied") : root.refusal
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
                name: tick.running ? "checkmark" : root.icon
                size: TallyTheme.smallIconSize
                color: tick.running ? TallyTheme.good : control.hovered ? TallyTheme.primary : TallyTheme.tertiary
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
