import QtQuick
import QtQuick.Templates as T
import TallyFold

// Text of several lines that scrolls.
Flickable {
    id: root

    property alias text: area.text
    property alias readOnly: area.readOnly
    property alias hint: hint.text
    property alias font: area.font
    property string name
    readonly property Item editor: area

    // The user changed the text.
    signal edited
    signal pasteRequested(var event)
    signal returnPressed(var event)

    clip: true
    boundsBehavior: Flickable.StopAtBounds
    contentWidth: width
    contentHeight: area.height

    T.ScrollBar.vertical: TFScrollBar {
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
        onTextChanged: root.edited()
        onCursorRectangleChanged: {
            if (cursorRectangle.y < root.contentY)
                root.contentY = Math.max(0, cursorRectangle.y - TallyTheme.space3);
            else if (cursorRectangle.y + cursorRectangle.height > root.contentY + root.height)
                root.contentY = cursorRectangle.y + cursorRectangle.height + TallyTheme.space3 - root.height;
        }
        Keys.onPressed: event => {
            if (event.matches(StandardKey.Paste))
                root.pasteRequested(event);
        }
        Keys.onReturnPressed: event => {
            event.accepted = false;
            root.returnPressed(event);
        }

        font {
            family: Application.font.family
            pixelSize: TallyTheme.bodySize
        }

        ShortcutPassage {
            target: area
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
