import QtQuick
import TallyFold

// A button that shows one of several choices, and opens a menu of them.
TFButton {
    id: root

    property var choices: []
    property string choice

    signal chosen(string name)

    text: choice
    opensMenu: true
    onClicked: menu.popup(root, 0, root.height + TallyTheme.space1)

    TFMenu {
        id: menu

        leastWidth: TallyTheme.algorithmMenuWidth

        Repeater {
            model: root.choices

            TFMenuItem {
                required property string modelData

                objectName: root.objectName + " " + modelData
                text: modelData
                symbol: modelData === root.choice ? "checkmark" : ""
                onTriggered: root.chosen(modelData)
            }
        }
    }
}
