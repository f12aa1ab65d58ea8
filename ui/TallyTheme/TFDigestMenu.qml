import QtQuick
import TallyFold

// What can be done with the selected part of a text that is only to be read.
Item {
    id: root

    required property TextEdit editor
    readonly property alias isOpen: menu.visible

    function open() {
        // Where nothing is selected, all of it is meant.
        if (editor.selectedText === "")
            editor.selectAll();
        menu.popup();
    }

    TFMenu {
        id: menu

        implicitWidth: TallyTheme.menuWidth

        TFMenuItem {
            objectName: "copySelected"
            text: qsTr("Copy")
            symbol: "doc.on.doc"
            shortcutText: "Ctrl+C"
            onTriggered: root.editor.copy()
        }

        TFMenuItem {
            objectName: "selectAll"
            text: qsTr("Select All")
            symbol: "textformat"
            shortcutText: "Ctrl+A"
            onTriggered: root.editor.selectAll()
        }
    }
}
