import QtQuick
import TallyFold

// A digest: monospaced, in groups of eight digits, selectable, and whole: it wraps only between groups.
Item {
    id: root

    property string text
    property string name
    property alias activatesOnTab: edit.activeFocusOnTab
    readonly property int groupsPerLine: Math.max(1, Math.floor(width / grouping.groupWidth))
    // Wider lines than those of 64 digits are hard to follow.
    readonly property int fullWidth: Math.ceil(8 * grouping.groupWidth) + 1

    implicitHeight: edit.contentHeight

    TextEdit {
        id: edit

        width: Math.ceil(root.groupsPerLine * grouping.groupWidth) + 1
        text: root.text
        textFormat: TextEdit.PlainText
        readOnly: true
        selectByMouse: true
        persistentSelection: false
        wrapMode: TextEdit.WrapAnywhere
        color: TallyTheme.primary
        selectionColor: TallyTheme.accent
        selectedTextColor: TallyTheme.inkOnAccent
        Accessible.role: Accessible.StaticText
        Accessible.name: root.name + " " + root.text

        font {
            family: TallyTheme.digestFont
            pixelSize: TallyTheme.digestSize
            hintingPreference: Font.PreferNoHinting
        }

        ShortcutPassage {
            target: edit
        }

        DigestGrouping {
            id: grouping

            target: edit.textDocument
            gap: TallyTheme.digestGap
            font: edit.font
        }
    }
}
