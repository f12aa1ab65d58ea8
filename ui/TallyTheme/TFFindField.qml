import QtQuick
import QtQuick.Templates as T
import TallyFold

// Finds rows by their names as they are typed: a button until it is wanted.
Item {
    id: root

    required property FilteredListModel jobs
    property bool isOpen: false

    // The keys are to go to the rows.
    signal rowsWanted

    function open() {
        isOpen = true;
        field.forceActiveFocus(Qt.ShortcutFocusReason);
        field.selectAll();
    }

    function close() {
        jobs.search = "";
        isOpen = false;
        rowsWanted();
    }

    implicitWidth: isOpen ? TallyTheme.findWidth : TallyTheme.smallControlHeight
    implicitHeight: TallyTheme.smallControlHeight

    TFIconButton {
        objectName: "openFind"
        visible: !root.isOpen
        name: qsTr("Find by name (Ctrl+F)")
        isTabStop: false
        icon: "magnifyingglass"
        onClicked: root.open()
    }

    T.TextField {
        id: field

        objectName: "find"
        anchors.fill: parent
        visible: root.isOpen
        leftPadding: icon.x + icon.width + TallyTheme.space2
        rightPadding: figure.width + closeButton.width + TallyTheme.space2
        verticalAlignment: TextInput.AlignVCenter
        maximumLength: TallyTheme.longestSearch
        selectByMouse: true
        color: TallyTheme.primary
        selectionColor: TallyTheme.accent
        selectedTextColor: TallyTheme.inkOnAccent
        font.pixelSize: TallyTheme.bodySize
        Accessible.name: qsTr("Find by name")
        Accessible.description: qsTr("%1 found").arg(figure.text)
        Keys.onShortcutOverride: event => event.accepted = event.key === Qt.Key_Escape
        Keys.onEscapePressed: root.close()
        Keys.onReturnPressed: root.rowsWanted()
        Keys.onEnterPressed: root.rowsWanted()
        Keys.onDownPressed: root.rowsWanted()
        onTextEdited: root.jobs.search = text
        onActiveFocusChanged: {
            if (!activeFocus && text === "")
                root.isOpen = false;
        }

        TextKeys {
            target: field
            isLeftByTab: true
            onPasteRequested: field.paste()
        }

        TFIcon {
            id: icon

            x: TallyTheme.space2
            anchors.verticalCenter: parent.verticalCenter
            name: "magnifyingglass"
            size: TallyTheme.smallIconSize
            color: TallyTheme.tertiary
        }

        TFText {
            id: figure

            anchors.right: closeButton.left
            anchors.verticalCenter: parent.verticalCenter
            visible: field.text !== ""
            text: root.jobs.countFigure
            color: root.jobs.count === 0 ? TallyTheme.bad : TallyTheme.secondary
            font.pixelSize: TallyTheme.captionSize
            font.weight: Font.DemiBold
        }

        TFIconButton {
            id: closeButton

            objectName: "closeFind"
            anchors.right: parent.right
            name: qsTr("Show all names again (Esc)")
            icon: "xmark"
            onClicked: root.close()
        }

        background: Rectangle {
            radius: TallyTheme.controlRadius
            color: TallyTheme.surface
            border.color: field.activeFocus ? TallyTheme.accent : TallyTheme.controlEdge
        }
    }

    Connections {
        function onSearchChanged() {
            if (field.text === root.jobs.search)
                return;
            field.text = root.jobs.search;
            root.isOpen = field.activeFocus || field.text !== "";
        }

        target: root.jobs
    }
}
