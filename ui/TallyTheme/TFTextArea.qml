import QtQuick
import QtQuick.Templates as T
import TallyFold

// Text of several lines that scrolls.
Flickable {
    id: root

    required property AppViewModel viewModel
    // All of it, whatever is shown. Set by show().
    readonly property alias content: whole.content
    readonly property alias isAbridged: whole.isAbridged
    readonly property string abridgement: isAbridged ? qsTr("Only the beginning of this text is shown.") : ""
    // What is shown.
    readonly property alias text: area.text
    property bool readOnly: false
    property alias hint: hint.text
    property alias font: area.font
    property string name
    property alias submitsOnReturn: keys.submitsOnReturn
    property alias isLeftByTab: keys.isLeftByTab
    readonly property Item editor: area

    // The user changed the content.
    signal edited
    signal submitted

    function show(all: string) {
        whole.show(all);
    }

    // Where the first line begins that is wholly below `y`.
    function lineBelow(y: real): real {
        const line = area.cursorRectangle.height;
        return area.topPadding + Math.ceil((y - area.topPadding) / line) * line;
    }

    function showCursor() {
        const cursor = area.cursorRectangle;
        if (cursor.y < contentY)
            contentY = cursor.y > area.topPadding ? cursor.y : 0;
        else if (cursor.y + cursor.height > contentY + height)
            contentY = lineBelow(cursor.y + cursor.height + TallyTheme.space1 - height);
    }

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: width
    // The end is reached with a whole line at the top.
    contentHeight: area.height > height ? lineBelow(area.height - height) + height : area.height
    // It is lower for a moment while the window takes its size.
    onHeightChanged: showCursor()

    T.ScrollBar.vertical: TFScrollBar {
    }

    LongText {
        id: whole

        editor: area
        onEdited: root.edited()
    }

    T.TextArea {
        id: area

        width: root.width
        height: Math.max(root.height, contentHeight + 2 * TallyTheme.space3)
        padding: TallyTheme.space3
        color: TallyTheme.primary
        selectionColor: TallyTheme.accent
        selectedTextColor: TallyTheme.inkOnAccent
        textFormat: TextEdit.PlainText
        wrapMode: TextEdit.Wrap
        selectByMouse: true
        persistentSelection: false
        Accessible.name: root.name
        Accessible.description: root.isLeftByTab ? "" : qsTr("Tab is part of the text. Ctrl+Tab leaves it.")
        readOnly: root.readOnly || whole.isAbridged
        onTextChanged: whole.takeOver()
        onCursorRectangleChanged: root.showCursor()

        font {
            family: Application.font.family
            pixelSize: TallyTheme.bodySize
        }

        TextKeys {
            id: keys

            target: area
            onPasteRequested: isSelection => {
                if (!root.readOnly)
                    whole.insert(root.viewModel.pasteboardText(isSelection));
            }
            onSubmitted: root.submitted()
        }

        TFText {
            id: hint

            x: area.leftPadding
            y: area.topPadding
            width: parent.width - 2 * x
            visible: area.length === 0
            color: TallyTheme.tertiary
            wrapMode: Text.Wrap
        }
    }
}
