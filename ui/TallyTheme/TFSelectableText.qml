import QtQuick
import TallyFold

// A digest: monospaced, in groups of eight digits, selectable, and whole: it wraps only between groups.
Item {
    id: root

    property string text
    property string name
    // The digit to mark; none when it is -1.
    property int mark: -1
    // Room is kept for so many digits while they are not known yet.
    property int expectedLength: 0
    property bool isTabStop: false
    readonly property int groups: Math.max(1, Math.ceil(Math.max(text.length, expectedLength) / grouping.groupLength))
    readonly property int groupsThatFit: Math.max(1, Math.floor(width / grouping.groupWidth))
    // Lines of the same length, where there are several.
    readonly property int groupsPerLine: Math.ceil(groups / Math.ceil(groups / groupsThatFit))

    // What it takes of a width: one line of all digits, or else lines of the usual length.
    function widthOf(available: real): real {
        const usual = TallyTheme.usualDigestLine / grouping.groupLength;
        const whole = lineWidth(Math.max(groups, usual));
        return whole <= available ? whole : Math.min(lineWidth(usual), available);
    }

    function lineWidth(groups: real): int {
        return Math.ceil(groups * grouping.groupWidth) + 1;
    }

    function openMenu() {
        edit.forceActiveFocus(Qt.MouseFocusReason);
        menu.active = true;
        (menu.item as TFDigestMenu).open();
    }

    implicitHeight: Math.max(edit.contentHeight, Math.ceil(expectedLength / grouping.groupLength / groupsPerLine) * metrics.lineSpacing)

    FontMetrics {
        id: metrics

        font: edit.font
    }

    TextEdit {
        id: edit

        width: root.lineWidth(root.groupsPerLine)
        text: root.text
        textFormat: TextEdit.PlainText
        readOnly: true
        // The toolkit takes no stop away from under the focus.
        activeFocusOnTab: root.isTabStop || activeFocus
        selectByMouse: true
        persistentSelection: (menu.item as TFDigestMenu)?.isOpen ?? false
        wrapMode: TextEdit.WrapAnywhere
        color: TallyTheme.primary
        selectionColor: TallyTheme.accent
        selectedTextColor: TallyTheme.inkOnAccent
        Accessible.role: Accessible.StaticText
        Accessible.name: root.name + " " + root.text
        Keys.onMenuPressed: root.openMenu()

        font {
            family: TallyTheme.digestFont
            pixelSize: TallyTheme.digestSize
            hintingPreference: Font.PreferNoHinting
        }

        TextKeys {
            target: edit
        }

        DigestGrouping {
            id: grouping

            target: edit.textDocument
            gap: TallyTheme.digestGap
            font: edit.font
            mark: root.mark
            markColor: TallyTheme.bad
            markedTextColor: TallyTheme.inkOnAccent
        }
    }

    Loader {
        anchors.fill: edit
        active: edit.activeFocus

        sourceComponent: TFFocusRing {
            inset: TallyTheme.tightRing
        }
    }

    TapHandler {
        acceptedButtons: Qt.RightButton
        enabled: edit.length > 0
        onTapped: root.openMenu()
    }

    Loader {
        id: menu

        active: false

        sourceComponent: TFDigestMenu {
            editor: edit
        }
    }
}
