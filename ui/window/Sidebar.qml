import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// The modes, and below them the application menu.
Item {
    id: root

    required property AppViewModel viewModel

    readonly property alias hasKeyboard: list.activeFocus

    readonly property bool isTight: width < TallyTheme.tightSidebarWidth
    readonly property int margin: isTight ? TallyTheme.space2 : TallyTheme.space3

    signal settingsRequested
    // The keyboard shall go to the screen.
    signal screenRequested

    Row {
        id: title

        x: root.isTight ? TallyTheme.space3 : TallyTheme.space5
        y: TallyTheme.space6
        height: TallyTheme.controlHeight
        spacing: TallyTheme.space2

        TFIcon {
            anchors.verticalCenter: parent.verticalCenter
            name: "tallyfold"
            size: TallyTheme.titleIconSize
        }

        TFText {
            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, root.width - x - 2 * parent.x)
            text: "Tally Fold"
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: TallyTheme.captionSize
            font.pixelSize: TallyTheme.sectionSize
            font.weight: Font.DemiBold
        }
    }

    FontMetrics {
        id: metrics

        font.pixelSize: TallyTheme.navigationSize
        font.weight: Font.Medium
    }

    ListView {
        id: list

        // What the longest label takes, and what there is for it.
        readonly property real labelWidth: Math.max(...Array.from(root.viewModel.modes).map(mode => Math.ceil(metrics.advanceWidth(mode.label))))
        readonly property real labelRoom: width - 3 * root.margin - TallyTheme.iconSize
        readonly property int labelSize: Math.min(1, labelRoom / labelWidth) * TallyTheme.navigationSize

        objectName: "sidebar"
        interactive: false
        activeFocusOnTab: true
        spacing: TallyTheme.space0
        model: root.viewModel.modes
        currentIndex: root.viewModel.mode
        keyNavigationEnabled: false
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Modes")
        Keys.onUpPressed: root.viewModel.stepMode(-1)
        Keys.onDownPressed: root.viewModel.stepMode(1)
        Keys.onReturnPressed: root.screenRequested()
        Keys.onEnterPressed: root.screenRequested()
        Keys.onRightPressed: root.screenRequested()

        anchors {
            top: title.bottom
            topMargin: TallyTheme.space4
            left: parent.left
            right: parent.right
            bottom: menuButton.top
            leftMargin: root.margin
            rightMargin: root.margin
        }

        delegate: T.ItemDelegate {
            id: row

            required property int index
            required property modeRow modelData
            readonly property bool isSelected: ListView.isCurrentItem
            readonly property bool isBusy: modelData.flow.isAtWork
            readonly property int outcome: modelData.flow.unseenOutcome
            readonly property bool hasState: isBusy || outcome !== Outcome.NoOutcome
            readonly property string announcement: text + (isBusy ? qsTr(", working") : outcome === Outcome.AllWell ? qsTr(", finished") : outcome === Outcome.SomeFailed ? qsTr(", finished with failures") : "")

            objectName: "mode" + modelData.label
            width: ListView.view.width
            implicitHeight: label.implicitHeight + topPadding + bottomPadding + 2 * TallyTheme.modePadding
            topPadding: TallyTheme.modePadding
            bottomPadding: TallyTheme.modePadding
            hoverEnabled: true
            focusPolicy: Qt.NoFocus
            text: modelData.label
            Accessible.role: Accessible.ListItem
            Accessible.name: announcement
            Accessible.selected: isSelected
            Accessible.onPressAction: root.viewModel.mode = modelData.mode
            onClicked: root.viewModel.mode = modelData.mode

            contentItem: Item {
                TFIcon {
                    id: icon

                    anchors.verticalCenter: parent.verticalCenter
                    x: root.margin
                    visible: !(root.isTight && row.hasState)
                    name: TallyTheme.iconOfMode(row.modelData.mode)
                    color: row.isSelected ? TallyTheme.accent : TallyTheme.secondary
                }

                TFText {
                    id: label

                    text: row.text
                    elide: Text.ElideRight
                    color: row.isSelected ? TallyTheme.primary : TallyTheme.secondary
                    font.pixelSize: list.labelSize
                    font.weight: Font.Medium

                    anchors {
                        left: icon.right
                        leftMargin: root.margin
                        right: row.hasState && !root.isTight ? spinner.left : parent.right
                        verticalCenter: parent.verticalCenter
                    }
                }

                TFSpinner {
                    id: spinner

                    x: root.isTight ? icon.x + (icon.width - width) / 2 : parent.width - width - TallyTheme.space3
                    size: TallyTheme.smallIconSize
                    visible: row.isBusy
                    anchors.verticalCenter: parent.verticalCenter
                }

                TFIcon {
                    anchors.fill: spinner
                    size: spinner.size
                    visible: !row.isBusy && row.outcome !== Outcome.NoOutcome
                    name: TallyTheme.iconOfOutcome(row.outcome)
                    color: row.outcome === Outcome.SomeFailed ? TallyTheme.bad : TallyTheme.good
                }
            }

            background: Rectangle {
                radius: TallyTheme.controlRadius
                color: row.isSelected ? TallyTheme.pressed : row.hovered ? TallyTheme.surface : "transparent"

                TFFocusRing {
                    visible: row.isSelected && list.activeFocus
                    inset: TallyTheme.tightRing
                }
            }
        }
    }

    TFButton {
        id: menuButton

        objectName: "applicationMenu"
        text: qsTr("Menu")
        icon: "line.3.horizontal"
        isBorderless: true
        onClicked: menu.popup(menuButton, 0, -menu.implicitHeight - TallyTheme.space1)

        anchors {
            left: parent.left
            bottom: parent.bottom
            leftMargin: TallyTheme.space3
            bottomMargin: TallyTheme.space4
        }
    }

    TFMenu {
        id: menu

        implicitWidth: TallyTheme.menuWidth

        TFMenuItem {
            objectName: "settingsItem"
            text: qsTr("Settings…")
            symbol: "gearshape"
            shortcutText: "Ctrl+,"
            onTriggered: root.settingsRequested()
        }

        TFMenuItem {
            objectName: "aboutItem"
            text: qsTr("About Tally Fold")
            symbol: "tallyfold"
            onTriggered: root.settingsRequested()
        }

        TFMenuItem {
            objectName: "quitItem"
            text: qsTr("Quit")
            symbol: "power"
            shortcutText: "Ctrl+Q"
            onTriggered: root.Window.window.close()
        }
    }
}
