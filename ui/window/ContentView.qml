import QtQuick
import QtQuick.Templates as T
import QtQuick.Window
import TallyFold

// The window: the sidebar of modes and the screen of the selected one, both observers of the one model.
Window {
    id: root

    required property AppViewModel viewModel
    // Who had the keys last, and whether the focus ring was around it.
    property T.Control lastHolder
    property bool hadRing: false

    // Nobody keeps the keys who is not shown or cannot use them.
    function handOn() {
        // Another window has them, and gives them back.
        if (!contentItem.focus)
            return;
        if (activeFocusItem === contentItem)
            detail.forceActiveFocus();
        if (activeFocusItem?.visible && !(activeFocusItem as TFScreen))
            return;
        for (let i = 0; i < detail.children.length; ++i)
            (detail.children[i] as TFScreen)?.takeKeyboard();
    }

    // The ring is there again after another window, such as a file panel, had the keys, and goes along where they are
    // handed on.
    function keepRing() {
        if (!activeFocusItem)
            return;
        const holder = activeFocusItem as T.Control;
        if (holder && hadRing && (holder.focusReason === Qt.ActiveWindowFocusReason || holder.focusReason === Qt.OtherFocusReason))
            holder.focusReason = Qt.TabFocusReason;
        lastHolder = holder;
        hadRing = holder?.visualFocus ?? false;
    }

    title: "Tally Fold"
    minimumWidth: sidebar.T.SplitView.minimumWidth + TallyTheme.lineWidth + detail.T.SplitView.minimumWidth
    minimumHeight: TallyTheme.leastHeight
    color: TallyTheme.backgroundBottom
    visible: true
    onClosing: viewModel.shutdown()
    onActiveFocusItemChanged: {
        handOn();
        keepRing();
    }

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
            T.SplitView.preferredWidth: {
                if (root.width < TallyTheme.narrowWidth)
                    return TallyTheme.leastSidebarWidth;
                return root.width < TallyTheme.wideWidth ? TallyTheme.sidebarWidth : TallyTheme.wideSidebarWidth;
            }
            viewModel: root.viewModel
            onSettingsRequested: about.open()
            onScreenRequested: detail.forceActiveFocus(Qt.TabFocusReason)
        }

        FocusScope {
            id: detail

            focus: true
            T.SplitView.minimumWidth: TallyTheme.leastScreenWidth
            T.SplitView.fillWidth: true
        }
    }

    TFErrorAlert {
        id: alert

        message: root.viewModel.errorMessage
        subject: root.viewModel.errorSubject
        onDismissed: root.viewModel.errorMessage = ""
    }

    AboutPanel {
        id: about

        transientParent: root
    }

    Connections {
        target: root.viewModel

        // Keys mean what is seen: they go along to the next screen, but stay in the list of modes and in what stands over the window.
        function onModeChanged() {
            if (!sidebar.hasKeyboard && !alert.opened && !root.viewModel.listCreation.isOpen)
                detail.forceActiveFocus();
        }
    }

    Connections {
        target: root.lastHolder

        function onVisualFocusChanged() {
            if (root.lastHolder.activeFocus)
                root.hadRing = root.lastHolder.visualFocus;
        }
    }

    Connections {
        target: root.activeFocusItem

        function onVisibleChanged() {
            root.handOn();
        }
    }

    Repeater {
        model: root.viewModel.modes

        // A mode's key and its screen, files/FilesView.qml for the one labelled "Files". A screen is made when it is first
        // shown: much memory is in those that nobody looks at.
        Item {
            id: entry

            required property int index
            required property modeRow modelData
            readonly property bool isShown: root.viewModel.mode === modelData.mode
            property Item screen

            function make() {
                if (!isShown || screen)
                    return;
                const view = Qt.createComponent(`../${modelData.label.toLowerCase()}/${modelData.label}View.qml`);
                if (view.status === Component.Error)
                    console.error(view.errorString());
                screen = view.createObject(detail, {
                        "viewModel": root.viewModel
                    }) as Item;
            }

            onIsShownChanged: make()
            Component.onCompleted: make()

            Shortcut {
                sequence: "Ctrl+" + (entry.index + 1)
                onActivated: {
                    root.viewModel.mode = entry.modelData.mode;
                    const control = root.activeFocusItem as T.Control;
                    if (control)
                        control.focusReason = Qt.ShortcutFocusReason;
                }
            }
        }
    }

    Shortcut {
        sequence: "Ctrl+,"
        onActivated: about.open()
    }

    Shortcut {
        enabled: !root.viewModel.listCreation.isOpen
        sequence: "Ctrl+Q"
        onActivated: root.close()
    }
}
