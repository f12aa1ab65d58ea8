import QtQuick
import QtQuick.Templates as T
import TallyFold

// A push button. It stays where it is while it cannot be used, and says why in a tip.
Item {
    id: root

    property string text
    property string icon
    property bool isProminent: false
    property bool isBorderless: false
    property bool opensMenu: false
    property bool isTabStop: true
    // Why it cannot be pressed now; empty when it can.
    property string refusal
    property string tip
    property bool isTipBelow: false
    property string description
    // What it is called where its text alone would not say which of several it is.
    property string accessibleName: text
    // What has the focus where the button has it.
    readonly property Item place: control
    // What it does is not seen: a tick tells for a moment that it is done.
    property bool isConfirmed: false
    // Of another subject, nothing is done yet.
    property var subject
    readonly property bool isDone: tick.running
    // What it starts is under way, and it cancels that.
    property bool isRunning: false
    property bool wasRunning: false
    readonly property color foreground: isProminent ? TallyTheme.inkOnAccent : isBorderless ? TallyTheme.secondary : TallyTheme.primary

    signal clicked

    function press() {
        // The second half of a double click means what the button was for the first.
        if (!control.enabled || doubleClick.running && isRunning !== wasRunning)
            return;
        wasRunning = isRunning;
        doubleClick.restart();
        clicked();
    }

    function takeFocus() {
        control.forceActiveFocus(Qt.TabFocusReason);
        // What has the focus already keeps the reason, too.
        control.focusReason = Qt.TabFocusReason;
    }

    implicitWidth: control.implicitWidth
    implicitHeight: TallyTheme.controlHeight
    onSubjectChanged: tick.stop()
    onClicked: {
        if (isConfirmed)
            tick.restart();
    }

    Timer {
        id: tick

        interval: TallyTheme.tickDuration
    }

    Timer {
        id: doubleClick

        interval: DesktopSettings.doubleClickInterval
    }

    T.Button {
        id: control

        anchors.fill: parent
        implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
        leftPadding: root.isBorderless ? TallyTheme.space2 : TallyTheme.space3
        rightPadding: leftPadding
        enabled: root.refusal === ""
        opacity: enabled ? 1 : TallyTheme.disabledOpacity
        focusPolicy: root.isTabStop || activeFocus ? Qt.StrongFocus : Qt.ClickFocus
        hoverEnabled: true
        text: root.text
        Accessible.name: root.accessibleName
        Accessible.description: root.isDone ? qsTr("Copied") : root.refusal !== "" ? root.refusal : root.description
        Accessible.onPressAction: root.press()
        Keys.onReturnPressed: event => keyed(event)
        Keys.onEnterPressed: event => keyed(event)
        onClicked: root.press()

        function keyed(event) {
            if (!event.isAutoRepeat)
                root.press();
        }

        contentItem: Item {
            implicitWidth: row.implicitWidth
            implicitHeight: row.implicitHeight

            Loader {
                active: root.isDone && root.icon === ""
                anchors.right: row.left
                anchors.rightMargin: TallyTheme.space0
                anchors.verticalCenter: parent.verticalCenter

                sourceComponent: TFIcon {
                    name: "checkmark"
                    size: TallyTheme.chevronSize
                    color: TallyTheme.good
                }
            }

            Row {
                id: row

                anchors.centerIn: parent
                spacing: TallyTheme.space2

                Loader {
                    anchors.verticalCenter: parent.verticalCenter
                    active: root.icon !== ""
                    visible: active

                    sourceComponent: TFIcon {
                        name: root.isDone ? "checkmark" : root.icon
                        color: root.isDone ? TallyTheme.good : root.foreground
                    }
                }

                TFText {
                    anchors.verticalCenter: parent.verticalCenter
                    text: root.text
                    color: root.foreground
                    font.weight: root.isProminent ? Font.DemiBold : Font.Medium
                    font.pixelSize: root.isBorderless ? TallyTheme.captionSize : TallyTheme.bodySize
                }

                Loader {
                    anchors.verticalCenter: parent.verticalCenter
                    active: root.opensMenu
                    visible: active

                    sourceComponent: TFIcon {
                        name: "chevron.down"
                        size: TallyTheme.chevronSize
                        color: root.foreground
                    }
                }
            }
        }

        background: Rectangle {
            radius: TallyTheme.controlRadius
            color: {
                if (root.isProminent)
                    return control.down ? TallyTheme.accentPressed : control.hovered ? TallyTheme.accentHover : TallyTheme.accent;
                if (control.down)
                    return TallyTheme.pressed;
                if (control.hovered)
                    return TallyTheme.raised;
                return root.isBorderless ? "transparent" : TallyTheme.surface;
            }
            border.width: root.isProminent || root.isBorderless ? 0 : TallyTheme.lineWidth
            border.color: TallyTheme.controlEdge

            Behavior on color  {
                ColorAnimation {
                    duration: TallyTheme.hoverDuration
                    easing.type: Easing.OutCubic
                }
            }

            Loader {
                anchors.fill: parent
                active: control.visualFocus

                sourceComponent: TFFocusRing {
                }
            }
        }
    }

    HoverHandler {
        id: hover
    }

    Loader {
        anchors.fill: parent
        active: hover.hovered && (root.refusal !== "" || root.tip !== "")

        sourceComponent: Item {
            TFToolTip {
                text: root.refusal !== "" ? root.refusal : root.tip
                isBelow: root.isTipBelow
                visible: true
            }
        }
    }
}
