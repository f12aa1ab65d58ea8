import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// The window: the sidebar of modes and the screen of the selected one, both observers of the one model.
Window {
    id: root

    required property AppViewModel viewModel

    title: "Tally Fold"
    minimumWidth: sidebar.T.SplitView.minimumWidth + TallyTheme.lineWidth + detail.T.SplitView.minimumWidth
    minimumHeight: TallyTheme.leastHeight
    color: TallyTheme.backgroundBottom
    visible: true
    onClosing: viewModel.shutdown()

    TFBackground {
        anchors.fill: parent
    }

    StartupWindowConfigurator {
    }

    PanelPalette {
        window: TallyTheme.backgroundTop
        field: TallyTheme.panelField
        button: TallyTheme.panelButton
        text: TallyTheme.primary
        faintText: TallyTheme.tertiary
        accent: TallyTheme.accent
        inkOnAccent: TallyTheme.inkOnAccent
    }

    T.SplitView {
        id: split

        anchors.fill: parent
        orientation: Qt.Horizontal

        handle: Item {
            implicitWidth: TallyTheme.lineWidth

            Rectangle {
                anchors.fill: parent
                color: T.SplitHandle.pressed || T.SplitHandle.hovered ? TallyTheme.accent : TallyTheme.hairline
            }

            // Easier to hit than it looks.
            containmentMask: Item {
                x: -TallyTheme.space1
                width: 2 * TallyTheme.space1 + TallyTheme.lineWidth
                height: split.height
            }
        }

        Sidebar {
            id: sidebar

            T.SplitView.minimumWidth: TallyTheme.leastSidebarWidth
            T.SplitView.preferredWidth: root.width < TallyTheme.narrowWidth ? TallyTheme.leastSidebarWidth : TallyTheme.sidebarWidth
            viewModel: root.viewModel
            onSettingsRequested: about.open()
        }

        // The focus goes along to the next screen: keys mean what is seen.
        FocusScope {
            id: detail

            T.SplitView.minimumWidth: TallyTheme.leastScreenWidth
            T.SplitView.fillWidth: true

            FilesView {
                viewModel: root.viewModel
            }

            TextView {
                viewModel: root.viewModel
            }

            VerifyView {
                viewModel: root.viewModel
            }

            CompareView {
                viewModel: root.viewModel
            }

            ManifestView {
                viewModel: root.viewModel
            }
        }
    }

    TFErrorAlert {
        message: root.viewModel.errorMessage
        onDismissed: root.viewModel.errorMessage = ""
    }

    AboutPanel {
        id: about

        transientParent: root
    }

    Repeater {
        model: root.viewModel.modes

        Item {
            required property int index
            required property modeRow modelData

            Shortcut {
                sequence: "Ctrl+" + (index + 1)
                onActivated: root.viewModel.mode = modelData.mode
            }
        }
    }

    Shortcut {
        sequence: "Ctrl+,"
        onActivated: about.open()
    }

    Shortcut {
        sequence: "Ctrl+Q"
        onActivated: root.close()
    }
}
