import QtQuick
import TallyFold

// The bytes of both files around their first difference, one above the other.
TFGlassCard {
    id: root

    required property DifferenceSearch differences
    // The longest lines that there is room for.
    readonly property byteRows rows: {
        const fitting = differences.rows.filter(rows => metrics.advanceWidth("0") * rows.columns <= width - 2 * TallyTheme.space4);
        return fitting[0] ?? differences.rows[differences.rows.length - 1];
    }

    implicitHeight: edit.y + edit.height + TallyTheme.space3
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("The first difference")

    FontMetrics {
        id: metrics

        font: edit.font
    }

    // The caption's own implicit width changes with its width while it is laid out.
    TextMetrics {
        id: oneLine

        font: caption.font
        text: caption.text
    }

    TFStaticText {
        id: caption

        objectName: "differenceCaption"
        text: root.differences.caption
        width: Math.min(Math.ceil(oneLine.advanceWidth), root.width - TallyTheme.space4 - copy.width - 2 * TallyTheme.space2)
        color: TallyTheme.secondary
        wrapMode: Text.Wrap
        font.pixelSize: TallyTheme.captionSize

        anchors {
            left: parent.left
            verticalCenter: copy.verticalCenter
            leftMargin: TallyTheme.space4
        }
    }

    TFButton {
        id: copy

        objectName: "copyDifference"
        height: TallyTheme.smallControlHeight
        text: qsTr("Copy")
        accessibleName: qsTr("Copy the bytes")
        isBorderless: true
        isConfirmed: true
        subject: root.differences.caption
        onClicked: root.differences.copy(root.rows)

        anchors {
            left: caption.right
            top: parent.top
            leftMargin: TallyTheme.space2
            topMargin: TallyTheme.space2
        }
    }

    TextEdit {
        id: edit

        objectName: "differenceRows"
        anchors.left: parent.left
        anchors.leftMargin: TallyTheme.space4
        anchors.top: copy.bottom
        anchors.topMargin: TallyTheme.space2
        text: root.rows.text
        textFormat: TextEdit.PlainText
        readOnly: true
        activeFocusOnTab: true
        selectByMouse: true
        selectByKeyboard: true
        persistentSelection: (menu.item as TFDigestMenu)?.isOpen ?? false
        wrapMode: TextEdit.NoWrap
        color: TallyTheme.primary
        selectionColor: TallyTheme.accent
        selectedTextColor: TallyTheme.inkOnAccent
        Accessible.role: Accessible.StaticText
        Accessible.name: caption.text + "\n" + text
        Keys.onMenuPressed: openMenu()

        function openMenu() {
            forceActiveFocus(Qt.MouseFocusReason);
            menu.active = true;
            (menu.item as TFDigestMenu).open();
        }

        font {
            family: TallyTheme.digestFont
            pixelSize: TallyTheme.digestSize
            hintingPreference: Font.PreferNoHinting
        }

        TextKeys {
            target: edit
        }

        DifferenceColors {
            target: edit.textDocument
            rows: root.rows
            quietColor: TallyTheme.tertiary
            markColor: TallyTheme.edge(TallyTheme.bad)
            firstMarkColor: TallyTheme.bad
            firstMarkedTextColor: TallyTheme.inkOnAccent
        }
    }

    TFFocusRing {
        anchors.fill: edit
        anchors.margins: -TallyTheme.space2
        visible: edit.activeFocus
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        onTapped: edit.openMenu()
    }

    Loader {
        id: menu

        active: false

        sourceComponent: TFDigestMenu {
            editor: edit
        }
    }
}
