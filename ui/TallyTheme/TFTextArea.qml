import QtQuick
import QtQuick.Templates as T
import TallyFold

// Text of several lines that scrolls. Of more than an editor bears, it shows the beginning, which can only be read.
Flickable {
    id: root

    // All of it, whatever is shown. Set by show().
    property string content
    readonly property int mostCharacters: bearable(content)
    readonly property bool isAbridged: content.length > mostCharacters
    // What is shown.
    readonly property alias text: area.text
    property bool readOnly: false
    property alias hint: hint.text
    property alias font: area.font
    property string name
    readonly property Item editor: area

    // The user changed the content.
    signal edited
    // The text of the clipboard is wanted, or that which is selected in another program.
    signal pasteRequested(bool isSelection)
    signal returnPressed(var event)

    // To lay out more takes longer than a key may wait: marks, and what runs from right to left among what does not,
    // take several times as long as other writing.
    function bearable(all: string): int {
        const most = 10000;
        const isIntricate = /[\u0300-\u036F\u0590-\u08FF\u200E\u200F\u202A-\u202E\u2066-\u2069\uD802\uD803\uD83A\uD83B\uFB1D-\uFDFF\uFE70-\uFEFC]/.test(all.substring(0, most));
        return isIntricate ? 2500 : most;
    }

    function show(all: string) {
        if (all === content)
            return;
        content = all;
        // Not between the halves of a character.
        const end = /[\uD800-\uDBFF]/.test(all.charAt(mostCharacters - 1)) ? mostCharacters - 1 : mostCharacters;
        area.text = isAbridged ? all.substring(0, end) : all;
    }

    // In the place of what is selected; of everything, where not everything can be selected.
    function insert(text: string) {
        if (text === "")
            return;
        const all = isAbridged ? text : area.getText(0, area.selectionStart) + text + area.getText(area.selectionEnd, area.length);
        if (isAbridged || all.length > bearable(all)) {
            show(all);
            edited();
        } else {
            area.remove(area.selectionStart, area.selectionEnd);
            area.insert(area.cursorPosition, text);
        }
    }

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
        readOnly: root.readOnly || root.isAbridged
        onTextChanged: {
            if (root.isAbridged || text === root.content)
                return;
            root.show(text);
            root.edited();
        }
        onCursorRectangleChanged: {
            if (cursorRectangle.y < root.contentY)
                root.contentY = Math.max(0, cursorRectangle.y - TallyTheme.space3);
            else if (cursorRectangle.y + cursorRectangle.height > root.contentY + root.height)
                root.contentY = cursorRectangle.y + cursorRectangle.height + TallyTheme.space3 - root.height;
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
            onPasteRequested: isSelection => {
                if (!root.readOnly)
                    root.pasteRequested(isSelection);
            }
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
